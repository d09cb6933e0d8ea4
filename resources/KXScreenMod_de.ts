<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>QDlgExtScreen</name>
    <message>
        <source>External screen</source>
        <translation>Externer Bildschirm</translation>
    </message>
</context>
<context>
    <name>QDlgPicInPic</name>
    <message>
        <source>Show several</source>
        <translation>Mehrere anzeigen</translation>
    </message>
    <message>
        <source>Previous</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>Show one</source>
        <translation>Eine Person anzeigen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Resize</source>
        <translation>Größe ändern</translation>
    </message>
    <message>
        <source>Floating window</source>
        <translation>Schwebendes Fenster</translation>
    </message>
</context>
<context>
    <name>QDlgPlayInfo</name>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>Call again</source>
        <translation>Erneut anrufen</translation>
    </message>
    <message>
        <source>Shared screen</source>
        <translation>Geteilter Bildschirm</translation>
    </message>
    <message>
        <source>%1&apos;s screen</source>
        <translation>Bildschirm von %1</translation>
    </message>
    <message>
        <source>Everyone watching</source>
        <translation>Für alle im Fokus</translation>
    </message>
    <message>
        <source>View locked</source>
        <translation>Ansicht fixiert</translation>
    </message>
    <message>
        <source>Pinned</source>
        <translation>Angeheftet</translation>
    </message>
    <message>
        <source>Calling…</source>
        <translation>Wird angerufen…</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>Keine Antwort</translation>
    </message>
    <message>
        <source>Declined</source>
        <translation>Abgelehnt</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Besetzt</translation>
    </message>
    <message>
        <source>Hung up</source>
        <translation>Aufgelegt</translation>
    </message>
    <message>
        <source>Call failed</source>
        <translation>Anruf fehlgeschlagen</translation>
    </message>
    <message>
        <source>Not joined</source>
        <translation>Nicht beigetreten</translation>
    </message>
    <message>
        <source>No microphone</source>
        <translation>Kein Mikrofon</translation>
    </message>
    <message>
        <source>Muted</source>
        <translation>Stummgeschaltet</translation>
    </message>
    <message>
        <source>Unmuted</source>
        <translation>Mikrofon an</translation>
    </message>
    <message>
        <source>Sharing paused</source>
        <translation>Freigabe angehalten</translation>
    </message>
    <message>
        <source>You are sharing</source>
        <translation>Sie teilen Ihren Bildschirm</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <comment>an invited participant&apos;s name and call state</comment>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>host</source>
        <translation>Gastgeber</translation>
    </message>
    <message>
        <source>co-host</source>
        <translation>Co-Gastgeber</translation>
    </message>
    <message>
        <source>you</source>
        <translation>Sie</translation>
    </message>
    <message>
        <source>invited</source>
        <translation>eingeladen</translation>
    </message>
    <message>
        <source>camera off</source>
        <translation>Kamera aus</translation>
    </message>
    <message>
        <source>speaking</source>
        <translation>spricht</translation>
    </message>
    <message>
        <source>weak network</source>
        <translation>schwache Verbindung</translation>
    </message>
    <message>
        <source>everyone watching</source>
        <translation>für alle im Fokus</translation>
    </message>
    <message>
        <source>view locked</source>
        <translation>Ansicht fixiert</translation>
    </message>
    <message>
        <source>on the stage</source>
        <translation>auf der Bühne</translation>
    </message>
    <message>
        <source>pinned</source>
        <translation>angeheftet</translation>
    </message>
    <message>
        <source>sharing paused</source>
        <translation>Freigabe angehalten</translation>
    </message>
    <message>
        <source>you are sharing</source>
        <translation>Sie teilen Ihren Bildschirm</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
    <message>
        <source>, </source>
        <comment>between the parts of a tile&apos;s spoken description</comment>
        <translation>, </translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <source>Unmute</source>
        <translation>Stummschaltung aufheben</translation>
    </message>
    <message>
        <source>Mute</source>
        <translation>Stummschalten</translation>
    </message>
    <message>
        <source>no microphone</source>
        <translation>kein Mikrofon</translation>
    </message>
    <message>
        <source>muted</source>
        <translation>stummgeschaltet</translation>
    </message>
    <message>
        <source>microphone on</source>
        <translation>Mikrofon an</translation>
    </message>
</context>
<context>
    <name>QDlgPopupScreen</name>
    <message>
        <source>dialog</source>
        <translation>Dialog</translation>
    </message>
</context>
<context>
    <name>QDlgScreen</name>
    <message>
        <source>%1&apos;s whiteboard</source>
        <translation>Whiteboard von %1</translation>
    </message>
    <message>
        <source>Participants</source>
        <translation>Teilnehmende</translation>
    </message>
    <message>
        <source>Next page</source>
        <translation>Nächste Seite</translation>
    </message>
    <message>
        <source>Previous page</source>
        <translation>Vorherige Seite</translation>
    </message>
    <message>
        <source>Show the small tiles</source>
        <translation>Kleine Kacheln einblenden</translation>
    </message>
    <message>
        <source>Hide the small tiles</source>
        <translation>Kleine Kacheln ausblenden</translation>
    </message>
</context>
</TS>
