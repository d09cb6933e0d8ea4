<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>QDlgExtScreen</name>
    <message>
        <source>External screen</source>
        <translation>External screen</translation>
    </message>
</context>
<context>
    <name>QDlgPicInPic</name>
    <message>
        <source>Show several</source>
        <translation>Show several</translation>
    </message>
    <message>
        <source>Previous</source>
        <translation>Previous</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Next</translation>
    </message>
    <message>
        <source>Show one</source>
        <translation>Show one</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>Resize</source>
        <translation>Resize</translation>
    </message>
    <message>
        <source>Floating window</source>
        <translation>Floating window</translation>
    </message>
</context>
<context>
    <name>QDlgPlayInfo</name>
    <message>
        <source>More</source>
        <translation>More</translation>
    </message>
    <message>
        <source>Call again</source>
        <translation>Call again</translation>
    </message>
    <message>
        <source>Shared screen</source>
        <translation>Shared screen</translation>
    </message>
    <message>
        <source>%1&apos;s screen</source>
        <translation>%1&apos;s screen</translation>
    </message>
    <message>
        <source>Everyone watching</source>
        <translation>Everyone watching</translation>
    </message>
    <message>
        <source>View locked</source>
        <translation>View locked</translation>
    </message>
    <message>
        <source>Calling…</source>
        <translation>Calling…</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>No answer</translation>
    </message>
    <message>
        <source>Declined</source>
        <translation>Declined</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Busy</translation>
    </message>
    <message>
        <source>Hung up</source>
        <translation>Hung up</translation>
    </message>
    <message>
        <source>Call failed</source>
        <translation>Call failed</translation>
    </message>
    <message>
        <source>Not joined</source>
        <translation>Not joined</translation>
    </message>
    <message>
        <source>No microphone</source>
        <translation>No microphone</translation>
    </message>
    <message>
        <source>Muted</source>
        <translation>Muted</translation>
    </message>
    <message>
        <source>Unmuted</source>
        <translation>Unmuted</translation>
    </message>
    <message>
        <source>Pinned</source>
        <translation>Pinned</translation>
    </message>
    <message>
        <source>Sharing paused</source>
        <translation>Sharing paused</translation>
    </message>
    <message>
        <source>You are sharing</source>
        <translation>You are sharing</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <comment>an invited participant&apos;s name and call state</comment>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>host</source>
        <translation>host</translation>
    </message>
    <message>
        <source>co-host</source>
        <translation>co-host</translation>
    </message>
    <message>
        <source>you</source>
        <translation>you</translation>
    </message>
    <message>
        <source>invited</source>
        <translation>invited</translation>
    </message>
    <message>
        <source>camera off</source>
        <translation>camera off</translation>
    </message>
    <message>
        <source>speaking</source>
        <translation>speaking</translation>
    </message>
    <message>
        <source>weak network</source>
        <translation>weak network</translation>
    </message>
    <message>
        <source>everyone watching</source>
        <translation>everyone watching</translation>
    </message>
    <message>
        <source>view locked</source>
        <translation>view locked</translation>
    </message>
    <message>
        <source>on the stage</source>
        <translation>on the stage</translation>
    </message>
    <message>
        <source>pinned</source>
        <translation>pinned</translation>
    </message>
    <message>
        <source>sharing paused</source>
        <translation>sharing paused</translation>
    </message>
    <message>
        <source>you are sharing</source>
        <translation>you are sharing</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 of %2</translation>
    </message>
    <message>
        <source>page %1 of %2</source>
        <translation>page %1 of %2</translation>
    </message>
    <message>
        <source>, </source>
        <comment>between the parts of a tile&apos;s spoken description</comment>
        <translation>, </translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>Microphone</translation>
    </message>
    <message>
        <source>Unmute</source>
        <translation>Unmute</translation>
    </message>
    <message>
        <source>Mute</source>
        <translation>Mute</translation>
    </message>
    <message>
        <source>no microphone</source>
        <translation>no microphone</translation>
    </message>
    <message>
        <source>muted</source>
        <translation>muted</translation>
    </message>
    <message>
        <source>microphone on</source>
        <translation>microphone on</translation>
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
        <translation>%1&apos;s whiteboard</translation>
    </message>
    <message>
        <source>Participants</source>
        <translation>Participants</translation>
    </message>
    <message>
        <source>Next page</source>
        <translation>Next page</translation>
    </message>
    <message>
        <source>Previous page</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>Show the small tiles</source>
        <translation>Show the small tiles</translation>
    </message>
    <message>
        <source>Hide the small tiles</source>
        <translation>Hide the small tiles</translation>
    </message>
</context>
</TS>
