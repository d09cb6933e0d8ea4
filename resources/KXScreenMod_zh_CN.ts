<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>QDlgExtScreen</name>
    <message>
        <source>External screen</source>
        <translation>外接屏幕</translation>
    </message>
</context>
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
    <message>
        <source>Floating window</source>
        <translation>悬浮窗口</translation>
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
    <message>
        <source>%1 (%2)</source>
        <comment>an invited participant&apos;s name and call state</comment>
        <translation>%1（%2）</translation>
    </message>
    <message>
        <source>host</source>
        <translation>主持人</translation>
    </message>
    <message>
        <source>co-host</source>
        <translation>联席主持人</translation>
    </message>
    <message>
        <source>you</source>
        <translation>我</translation>
    </message>
    <message>
        <source>invited</source>
        <translation>已邀请</translation>
    </message>
    <message>
        <source>camera off</source>
        <translation>摄像头已关闭</translation>
    </message>
    <message>
        <source>speaking</source>
        <translation>正在讲话</translation>
    </message>
    <message>
        <source>weak network</source>
        <translation>网络较差</translation>
    </message>
    <message>
        <source>everyone watching</source>
        <translation>全员观看</translation>
    </message>
    <message>
        <source>view locked</source>
        <translation>已锁定画面</translation>
    </message>
    <message>
        <source>on the stage</source>
        <translation>在主画面</translation>
    </message>
    <message>
        <source>pinned</source>
        <translation>已固定</translation>
    </message>
    <message>
        <source>sharing paused</source>
        <translation>共享已暂停</translation>
    </message>
    <message>
        <source>you are sharing</source>
        <translation>你正在共享屏幕</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>第 %1 位，共 %2 位</translation>
    </message>
    <message>
        <source>page %1 of %2</source>
        <translation>第 %1 页，共 %2 页</translation>
    </message>
    <message>
        <source>, </source>
        <comment>between the parts of a tile&apos;s spoken description</comment>
        <translation>，</translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>麦克风</translation>
    </message>
    <message>
        <source>Unmute</source>
        <translation>取消静音</translation>
    </message>
    <message>
        <source>Mute</source>
        <translation>静音</translation>
    </message>
    <message>
        <source>no microphone</source>
        <translation>无麦克风</translation>
    </message>
    <message>
        <source>muted</source>
        <translation>已静音</translation>
    </message>
    <message>
        <source>microphone on</source>
        <translation>麦克风已开启</translation>
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
    <message>
        <source>Participants</source>
        <translation>参会者</translation>
    </message>
    <message>
        <source>Next page</source>
        <translation>下一页</translation>
    </message>
    <message>
        <source>Previous page</source>
        <translation>上一页</translation>
    </message>
    <message>
        <source>Show the small tiles</source>
        <translation>显示小画面</translation>
    </message>
    <message>
        <source>Hide the small tiles</source>
        <translation>隐藏小画面</translation>
    </message>
</context>
</TS>
