<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
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
</context>
</TS>
