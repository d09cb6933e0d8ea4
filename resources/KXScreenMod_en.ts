<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
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
</context>
</TS>
