<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>QDlgPopupScreen</name>
    <message>
        <source>dialog</source>
        <translation>Dialog</translation>
    </message>
</context>
</TS>
