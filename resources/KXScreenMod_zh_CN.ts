<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>QDlgPicInPic</name>
    <message>
        <source>Show several</source>
        <translation>显示多人</translation>
    </message>
    <message>
        <source>Previous</source>
        <translation>上一页</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>下一页</translation>
    </message>
    <message>
        <source>Show one</source>
        <translation>显示一人</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Resize</source>
        <translation>调整大小</translation>
    </message>
</context>
<context>
    <name>QDlgPlayInfo</name>
    <message>
        <source>More</source>
        <translation>更多</translation>
    </message>
    <message>
        <source>Call again</source>
        <translation>重新呼叫</translation>
    </message>
    <message>
        <source>Shared screen</source>
        <translation>共享屏幕</translation>
    </message>
    <message>
        <source>%1&apos;s screen</source>
        <translation>%1 的屏幕</translation>
    </message>
    <message>
        <source>Everyone watching</source>
        <translation>全员观看</translation>
    </message>
    <message>
        <source>View locked</source>
        <translation>已锁定画面</translation>
    </message>
    <message>
        <source>Pinned</source>
        <translation>已固定</translation>
    </message>
    <message>
        <source>Calling…</source>
        <translation>正在呼叫…</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>无人接听</translation>
    </message>
    <message>
        <source>Declined</source>
        <translation>已拒绝</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>对方忙</translation>
    </message>
    <message>
        <source>Hung up</source>
        <translation>已挂断</translation>
    </message>
    <message>
        <source>Call failed</source>
        <translation>呼叫失败</translation>
    </message>
    <message>
        <source>Not joined</source>
        <translation>未入会</translation>
    </message>
    <message>
        <source>No microphone</source>
        <translation>无麦克风</translation>
    </message>
    <message>
        <source>Muted</source>
        <translation>已静音</translation>
    </message>
    <message>
        <source>Unmuted</source>
        <translation>未静音</translation>
    </message>
    <message>
        <source>Sharing paused</source>
        <translation>共享已暂停</translation>
    </message>
    <message>
        <source>You are sharing</source>
        <translation>您正在共享屏幕</translation>
    </message>
</context>
<context>
    <name>QDlgPopupScreen</name>
    <message>
        <source>dialog</source>
        <translation>对话框</translation>
    </message>
</context>
<context>
    <name>QDlgScreen</name>
    <message>
        <source>%1&apos;s whiteboard</source>
        <translation>%1 的白板</translation>
    </message>
</context>
</TS>
