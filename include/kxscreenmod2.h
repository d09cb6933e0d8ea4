/*
 * kxscreenmod2.h - the host interface of the KXScreenMod2 video-gallery module.
 *
 * A host loads libKXScreenMod2 (KXScreenMod2.dll on Windows), creates one
 * gallery per KXScreen_Init inside a widget of its own, tells the gallery who
 * is in the meeting, hands it every decoded I420 frame and receives the
 * gallery's decisions through one notification function.
 *
 * Threads
 * -------
 * The "interface thread" is the thread that owns the host's QApplication (or,
 * when the host has none, the thread that made the first call into the
 * module). Every widget of the module lives there and the module runs no event
 * loop of its own: the host must keep pumping that thread's events.
 *
 *   [any thread]  the export may be called from any thread. On the interface
 *                 thread it acts before it returns; from another thread the
 *                 work is queued to the interface thread and runs when the host
 *                 pumps events, and the export returns at once (1). Queued work
 *                 is bounded: while it waits, a newer call of the same export
 *                 for the same participant (or for the gallery) replaces the
 *                 older one, so a thread that reports a volume 100 times a
 *                 second costs one waiting item, not a queue.
 *   [interface]   the export answers with data of the gallery or takes the
 *                 host's widgets: on any other thread it is refused (0 or null)
 *                 with a warning, and runs no gallery code there.
 *
 * Handles
 * -------
 * KXScreen_Init returns a module handle; KXScreen_AddPerson returns a play
 * handle for one participant. A null, unknown or released handle is rejected:
 * the export returns 0 (null for pointer results), changes nothing and logs a
 * warning (KXScreen_Release takes null quietly). Play handles are checked
 * against the set of live handles before they are read, so a stale pointer is
 * never dereferenced, and a play handle is only accepted by the gallery that
 * issued it. A gallery released while host threads are inside
 * its exports stays alive for them and goes once the last has returned.
 *
 * Each handle is a gallery of its own: an export acts on the gallery its handle
 * names and on no other, so a host may hold several (a meeting and a preview).
 * What is per process: the skin (KXScreen_SetIsNewSkin), the scale factors
 * (KXScreen_SetDPIs), the settings file, and the layout a new gallery starts in
 * (the last one set with KXScreen_SetCurMode).
 *
 * The host's widget may go first: when the widget given to KXScreen_Init (or
 * KXScreen_SetParent) is destroyed before KXScreen_Release, the gallery goes
 * with it and from then on every export on that handle answers 0 or null with
 * a warning, host threads inside an export at that moment finish safely, and
 * nothing more is sent to the host function. KXScreen_Release is still due:
 * it frees what is left.
 *
 * Logging
 * -------
 * The module logs through the Qt logging category "kxscreen". Whatever the
 * host did wrong (a refused call: a bad handle, a bad argument, a refused
 * frame, an [interface] export called from another thread; a missing settings
 * file) is a warning that names the export and the reason; everything else is
 * a debug line. QT_LOGGING_RULES="kxscreen.debug=false" silences the debug
 * lines and keeps the warnings.
 *
 * Strings
 * -------
 * User IDs and other strings are in the local 8-bit encoding, user names in
 * UTF-8. A null string is taken as the empty string.
 *
 * Exports that take or return Qt types (QWidget, QImage, QRect, QString) need a
 * C++ host built against the same Qt 5; from C only the exports whose
 * arguments are plain C types are declared.
 *
 * Version
 * -------
 * kxscreenmod2_version.h, installed beside this header and included by it,
 * gives the version the header belongs to: KXSCREENMOD2_VERSION_MAJOR, _MINOR,
 * _PATCH and KXSCREENMOD2_VERSION_STRING ("2.0.0"). KXScreen_GetVersion gives
 * the version of the library actually loaded.
 */
#ifndef KXSCREENMOD2_H
#define KXSCREENMOD2_H

#include <stddef.h>
#include <stdint.h>
#include "kxscreenmod2_version.h"
#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(_WIN32)
#  if defined(KXSCREENMOD2_BUILDING)
#    define KXSCREEN_API __declspec(dllexport)
#  else
#    define KXSCREEN_API __declspec(dllimport)
#  endif
#else
#  define KXSCREEN_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#include <QtCore/QRect>
#include <QtCore/QString>
class QWidget;
class QImage;
#else
typedef struct QWidget QWidget;
typedef struct QImage QImage;
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Host notification function                                               */
/* ------------------------------------------------------------------------ */

/*
 * Called on the interface thread, synchronously, for every notification below.
 * The result is ignored. It must not block for long. From inside it the host
 * may call the [interface] exports and the [any thread] exports, remove
 * participants and release the gallery. The module holds none of its locks
 * while the host function runs, so the function may take the host's own locks
 * and stop or join the host's media threads, even ones that are inside
 * KXScreen_PlayFrame at that moment.
 *
 * Notifications also come from inside exports called on the interface thread:
 * whatever lays the gallery out again (KXScreen_AddPerson, KXScreen_SetCurMode,
 * KXScreen_SetPage, KXScreen_MoveWindow, ...) may call the host function before
 * it returns. In particular KXScreen_AddPerson on the interface thread takes
 * the participant in at once, so 20 (and 18, and 10 for a share) arrive before
 * it has returned the play handle: make the user data findable (register your
 * participant object) before the call, not after it.
 *
 * Several galleries. Each notification of any gallery goes to the host
 * function of every gallery alive (the module keeps one list of them; a
 * function given to two KXScreen_Init calls is called twice), and the function
 * has no context pointer. The usual pattern: a function per gallery, user data
 * of its own for each participant of each gallery, and each function acting
 * only on the user data of its gallery, looked up, never dereferenced blindly
 * (a message may also name someone who has just left):
 *
 *   struct Member { void* hPlay; };                 // the host's participant
 *   struct Room { void* h; std::set<Member*> members; };
 *   static Room g_meeting, g_preview;
 *   static int route(Room& room, unsigned int msg, uint64_t wParam, uint64_t lParam)
 *   {
 *       Member* m = reinterpret_cast<Member*>(lParam);
 *       if (!room.members.count(m))
 *           return 0;                               // another gallery's, or gone
 *       // ... act on msg for m in room ...
 *       return 0;
 *   }
 *   static int onMeeting(unsigned int m, uint64_t w, uint64_t l) { return route(g_meeting, m, w, l); }
 *   static int onPreview(unsigned int m, uint64_t w, uint64_t l) { return route(g_preview, m, w, l); }
 *
 *   g_meeting.h = KXScreen_Init(meetingWidget, baseDir, onMeeting);
 *   g_preview.h = KXScreen_Init(previewWidget, baseDir, onPreview);
 *   Member* m = new Member();
 *   g_meeting.members.insert(m);                    // first: 20 may come from inside the call
 *   char none[] = "";
 *   m->hPlay = KXScreen_AddPerson(g_meeting.h, id, none, name, joined, 0, m, 0);
 *
 * The codes whose lParam is 0 (8, 11, 12, 13, 19, 25, 26) do not say which
 * gallery sent them; with one gallery there is nothing to tell apart.
 *
 * When each code is sent, and how often. "record" is the participant's record
 * address (the same value for the participant's whole stay), "user data" the
 * pUserData the host gave to KXScreen_AddPerson. "On screen" means: a visible
 * tile in the gallery (while the meeting room is not minimised), a tile of the
 * floating window, or the external screen. A relayout happens whenever who is
 * shown where may change: arrivals and departures, video turned on or off, a
 * first frame, roles, focus, looks, speakers, shares, layouts, pages, sizes.
 *
 *   0  each click on a tile's microphone control.
 *   1  each click on a tile's "more" control (only while the participant has a
 *      tile). wParam is the click's global position (Qt's device-independent
 *      pixels), packed into 32 bits and sign-extended to 64:
 *          int32_t p = (int32_t)(((uint32_t)x << 16) | ((uint32_t)y & 0xFFFF));
 *      so int16_t x = (int16_t)((int32_t)wParam >> 16), y = (int16_t)wParam
 *      (negative on screens left of or above the primary one).
 *   2, 3, 4  the stream the participant's tile needs: small, ordinary, large.
 *      Every relayout assigns a type to each participant it places, and the
 *      type is sent with that participant's next frame, so it comes again
 *      after every relayout while the video flows, the same type or not, and
 *      not before the first frame (pull some layer on 18 to start). Never for
 *      the local user, a share or a participant without a name.
 *   8  each double click on a tile, before the layout changes: wParam 5 in
 *      layouts 1 to 3, 6 in 4 to 8, 7 in 9.
 *   10 a share arrives in the gallery and takes the stage: wParam the share's
 *      record, lParam its user data (not for a share kept for the external
 *      screen).
 *   11 each click on the stage's tile in layout 4 or on the single tile of 9.
 *   12 a look (all-look or lock-look) ended, or its participant left.
 *   13 a look began where none of its kind was on.
 *   16 the participant looked at left: sent just before the 12 of that.
 *   17 stop pulling this participant's video: five seconds after the last
 *      relayout (every relayout starts the five seconds again) for everybody
 *      not on screen then, stopped already or not; and at once when
 *      KXScreen_Preview(.., true) names a participant without a tile.
 *   18 pull this participant's video: on every relayout, for everybody on
 *      screen, pulled already or not (so it repeats often).
 *      Relayouts send 17 and 18 once KXScreen_JoinMeetingFinish was called;
 *      the local user and invited participants get them too, a share never.
 *   19 the tile whose "more" menu the host opened (on 1) moved, hid or shows
 *      somebody else after a relayout: hide the menu. Once per menu.
 *   20 the participant was taken in (once per KXScreen_AddPerson): wParam the
 *      play handle, lParam user data. See above for the interface thread.
 *   24 each click on an invited participant's "Call again" button.
 *   25 the share's tile (or, while one is up, the whiteboard's area) appeared
 *      or its top-left corner moved, after a relayout; and on every
 *      KXScreen_ReposShareWgtForAnnonate. wParam is that corner in global
 *      coordinates, x in the high 32 bits and y in the low 32 bits:
 *          wParam = ((uint64_t)(uint32_t)x << 32) | (uint32_t)y;
 *          int32_t x = (int32_t)(wParam >> 32), y = (int32_t)(uint32_t)wParam;
 *      The whole rectangle: KXScreen_GetShareWgtPos.
 *   26 the floating window was shown by a relayout (a share or
 *      KXScreen_ShowPicInPic took layout 4), the local user started sharing,
 *      or the room was minimised during a share.
 */
typedef int (*KXScreenMsgCallback)(unsigned int msg, uint64_t wParam, uint64_t lParam);

enum KXScreenMsg {
    KXSCREEN_MSG_CLICK_AUDIO         = 0,  /* record, user data */
    KXSCREEN_MSG_CLICK_MORE          = 1,  /* packed click position, user data */
    KXSCREEN_MSG_STREAM_SMALL        = 2,  /* record, user data: subscribe the small stream */
    KXSCREEN_MSG_STREAM_NORMAL       = 3,  /* record, user data: subscribe the ordinary stream */
    KXSCREEN_MSG_STREAM_LARGE        = 4,  /* record, user data: subscribe the large stream */
    KXSCREEN_MSG_DBCLICK_TILE        = 8,  /* 5, 6 or 7, 0 */
    KXSCREEN_MSG_SHARE_TIP           = 10, /* the share's record, user data */
    KXSCREEN_MSG_TOOLBAR_SHOW        = 11, /* 0, 0: the toolbar should change its visibility */
    KXSCREEN_MSG_LOOK_TOAST_OFF      = 12, /* 0, 0 */
    KXSCREEN_MSG_LOOK_TOAST_ON       = 13, /* 0, 0 */
    KXSCREEN_MSG_LOCK_LOOK_CANCELLED = 16, /* record, user data */
    KXSCREEN_MSG_REMOTE_VIDEO_CLOSE  = 17, /* record, user data: stop pulling the video */
    KXSCREEN_MSG_REMOTE_VIDEO_OPEN   = 18, /* record, user data: pull the video */
    KXSCREEN_MSG_HIDE_MORE_MENU      = 19, /* 0, 0 */
    KXSCREEN_MSG_USERINFO_UPDATED    = 20, /* play handle, user data */
    KXSCREEN_MSG_RECALL_PERSON       = 24, /* record, user data */
    KXSCREEN_MSG_SHARE_POS_CHANGED   = 25, /* packed position, 0 */
    KXSCREEN_MSG_SHOW_PIC_IN_PIC     = 26  /* 0, 0 */
};

/* Stream types, sent as the message code itself (2, 3, 4). */
enum KXScreenStreamType {
    KXSCREEN_STREAM_SMALL  = 2,
    KXSCREEN_STREAM_NORMAL = 3,
    KXSCREEN_STREAM_LARGE  = 4
};

/* Layout modes for KXScreen_SetCurMode / KXScreen_GetCurMode. */
enum KXScreenLayout {
    KXSCREEN_LAYOUT_EQUAL_CUT     = 1,
    KXSCREEN_LAYOUT_SIX_CUT       = 2,
    KXSCREEN_LAYOUT_EIGHT_CUT     = 3,
    KXSCREEN_LAYOUT_PIC_IN_PIC    = 4,
    KXSCREEN_LAYOUT_SPEAKER_RIGHT = 5,
    KXSCREEN_LAYOUT_SPEAKER_BOTTOM= 6,
    KXSCREEN_LAYOUT_SPEAKER_TOP   = 7,
    KXSCREEN_LAYOUT_SPEAKER4      = 8,
    KXSCREEN_LAYOUT_FULL          = 9
};

/* ------------------------------------------------------------------------ */
/* Frame record                                                              */
/* ------------------------------------------------------------------------ */

/*
 * One decoded picture, planar I420, tightly packed: Y (width x height), then U
 * and V ((width + 1) / 2 x (height + 1) / 2 each). Little-endian, 64-bit.
 */
typedef struct KxCloudRTCVideoFrameQT {
    uint64_t reserved;      /* 0: the host's own; never read by the module   */
    const uint8_t* data;    /* 8: the picture                                 */
    uint32_t length;        /* 16: byte count of the picture (used by dumps)  */
    int32_t width;          /* 20: picture width in pixels                    */
    int32_t height;         /* 24: picture height in pixels                   */
} KxCloudRTCVideoFrameQT;

#ifdef __cplusplus
static_assert(offsetof(KxCloudRTCVideoFrameQT, data) == 8, "frame data at offset 8");
static_assert(offsetof(KxCloudRTCVideoFrameQT, length) == 16, "frame length at offset 16");
static_assert(offsetof(KxCloudRTCVideoFrameQT, width) == 20, "frame width at offset 20");
static_assert(offsetof(KxCloudRTCVideoFrameQT, height) == 24, "frame height at offset 24");
static_assert(sizeof(KxCloudRTCVideoFrameQT) == 32, "frame record is 32 bytes");
#else
_Static_assert(offsetof(KxCloudRTCVideoFrameQT, data) == 8, "frame data at offset 8");
_Static_assert(offsetof(KxCloudRTCVideoFrameQT, length) == 16, "frame length at offset 16");
_Static_assert(offsetof(KxCloudRTCVideoFrameQT, width) == 20, "frame width at offset 20");
_Static_assert(offsetof(KxCloudRTCVideoFrameQT, height) == 24, "frame height at offset 24");
_Static_assert(sizeof(KxCloudRTCVideoFrameQT) == 32, "frame record is 32 bytes");
#endif

/* ------------------------------------------------------------------------ */
/* Version                                                                   */
/* ------------------------------------------------------------------------ */

/* [any thread] An addition of this module, not one of the gallery's original
 * exports. The version of the library loaded, "MAJOR.MINOR.PATCH": the
 * KXSCREENMOD2_VERSION_STRING it was built with, which a host compares with
 * the one of the header it was built against. Needs no handle and no
 * application object; the string is static. */
KXSCREEN_API const char* KXScreen_GetVersion(void);

/* ------------------------------------------------------------------------ */
/* Lifecycle                                                                 */
/* ------------------------------------------------------------------------ */

/* [interface] Creates a gallery inside parent (may be null). baseDir holds
 * "user_data/sys_ver.ini" (UTF-8). Returns the module handle. Raises the
 * calling thread's priority. */
KXSCREEN_API void* KXScreen_Init(QWidget* parent, const char* baseDir, KXScreenMsgCallback callback);
/* [any thread] Destroys the gallery; the handle and its play handles are dead afterwards. Null is ignored.
 * From another thread the release is queued to the interface thread. */
KXSCREEN_API void KXScreen_Release(void* hScreen);
/* [interface] Moves the gallery into another parent widget and shows it. */
KXSCREEN_API int KXScreen_SetParent(void* hScreen, QWidget* parent);

/* ------------------------------------------------------------------------ */
/* Participants                                                              */
/* ------------------------------------------------------------------------ */

/* [any thread] Adds a participant and returns its play handle (null on a bad module handle).
 * A userID starting "sharescreen_" is a screen-share stream, "unjoined_" an invited participant
 * who has not joined (iStatus is its call state: 1 calling, 2 no answer, 3 declined, 4 busy,
 * 5 hung up, 6 failed). The participant appears when the interface thread runs next. */
KXSCREEN_API void* KXScreen_AddPerson(void* hScreen, char* userID, char* extra, char* userName,
                                      int64_t joinTime, int iExtra, void* pUserData, int iStatus);
/* [any thread] Removes a participant; hPlay is dead as soon as this returns. */
KXSCREEN_API int KXScreen_DelPerson(void* hScreen, void* hPlay);
/* [any thread] Hands one decoded frame (a KxCloudRTCVideoFrameQT*) to the participant's tile.
 * The picture is copied before the call returns. Returns 1 when a tile took it. Refused (0, with
 * a warning): a length smaller than the picture's I420 size, width * height + 2 * ((width + 1) / 2)
 * * ((height + 1) / 2), a side above 16384 pixels, and an area above 7680 x 4320 pixels. */
KXSCREEN_API int KXScreen_PlayFrame(void* hScreen, void* hPlay, void* frame);
/* [any thread] The participant's video was turned on or off. */
KXSCREEN_API int KXScreen_Preview(void* hScreen, void* hPlay, bool bPreview);
/* [any thread] Microphone muted (non-zero) or open. */
KXSCREEN_API int KXScreen_SetMute(void* hScreen, void* hPlay, int iMute);
/* [any thread] The participant has a microphone at all. */
KXSCREEN_API int KXScreen_SetHasMic(void* hScreen, void* hPlay, bool bHasMic);
/* [any thread] Local user flag, role (1 host, 2 co-host) and name (UTF-8; names are kept to their first
 * 256 characters, here and in KXScreen_AddPerson). */
KXSCREEN_API int KXScreen_SetPersonInfo(void* hScreen, void* hPlay, bool bSelf, int iRoleType, char* name);
/* [any thread] Head image shown while there is no video; the image is copied. */
KXSCREEN_API int KXScreen_SetPersonHeadImg(void* hScreen, void* hPlay, const QImage* image);
/* [any thread] Speaking level, 0 to 100. */
KXSCREEN_API int KXScreen_SetVolume(void* hScreen, void* hPlay, int iVolume);
/* [any thread] Everyone looks at this participant (non-zero) or not. */
KXSCREEN_API int KXScreen_AllLook(void* hScreen, void* hPlay, int bAllLook);
/* [any thread] The local user locks the view on this participant (non-zero) or not. */
KXSCREEN_API int KXScreen_LockLook(void* hScreen, void* hPlay, int bLockLook);
/* [any thread] The "more" menu of this participant was hidden by the host. */
KXSCREEN_API int KXScreen_MoreInHide(void* hScreen, void* hPlay);

/* [interface] The returned strings stay valid until the next call of the same export. */
KXSCREEN_API const char* KXScreen_GetAllLookUserID(void* hScreen);
KXSCREEN_API const char* KXScreen_GetLockLookUserID(void* hScreen);
KXSCREEN_API const char* KXScreen_GetShareUserID(void* hScreen);

/* [any thread] Focus, voice activation and active speakers, by user ID. */
KXSCREEN_API int KXScreen_FocusByUserID(void* hScreen, char* userID);
KXSCREEN_API int KXScreen_SetVoiceActivateByUserID(void* hScreen, char* userID);
KXSCREEN_API int KXScreen_CancelVoiceActivate(void* hScreen);
/* userIDs: the speaking participants' IDs separated by ','; the first is the active speaker. */
KXSCREEN_API int KXScreen_SetCurSpeakPerson(void* hScreen, char* userIDs);
/* [any thread] Weak network or a quality level (1 worst .. 6 best, 0 unknown) for a participant. */
KXSCREEN_API int KXScreen_UpdateNetWeak(void* hScreen, const char* userID, bool bNetWeak, int iNetLevel);

/* ------------------------------------------------------------------------ */
/* Layout and gallery                                                        */
/* ------------------------------------------------------------------------ */

/* [any thread] Sets the layout (enum KXScreenLayout). A value outside 1 to 9 is taken as 1: the grid is
 * shown, KXScreen_GetCurMode answers 1, and a warning says so. On the interface thread the layout is
 * applied before the export returns, also before KXScreen_JoinMeetingFinish. A gallery made later
 * starts in the layout set last. */
KXSCREEN_API int KXScreen_SetCurMode(void* hScreen, int iMode);
/* [any thread] The current layout of this gallery. */
KXSCREEN_API int KXScreen_GetCurMode(void* hScreen);
/* [any thread] The local user has finished joining: ordering and video stop/resume start now. */
KXSCREEN_API int KXScreen_JoinMeetingFinish(void* hScreen);
/* [interface] Non-zero while the window that holds the gallery (the host's top-level window; the
 * gallery itself is a child widget and is never minimised) is minimised. Like every other export it
 * refuses a null, unknown or released handle with 0 instead of reading it. */
KXSCREEN_API int KXScreen_IsIconic(void* hScreen);

/* Pages. Additions of this module, not among the gallery's original exports:
 * for a host that puts page buttons or shortcuts of its own around the
 * gallery. Pages count from 0. The grid (layout 1) shows six tiles a page; the
 * speaker layouts page their strip of small tiles, six a page (5 to 7: everybody
 * but the big tile; 8: everybody but the two big tiles); layouts 2, 3, 4 and 9
 * have one page (in 4 the floating window turns its own). The gallery's page
 * controls, the mouse wheel and the keys Up and Down (while the gallery has the
 * focus) turn the same pages. The count changes as people come and go and with
 * the layout: read it again before showing it (after 2, 3, 4, 17 or 18 is a
 * good moment). A refused call (a bad handle, another thread) answers 0, which
 * KXScreen_GetPageCount never answers otherwise. */
/* [interface] Shows page iPage, clamped to 0 .. KXScreen_GetPageCount() - 1, and answers the page
 * shown. A turn is what a click on a page control does: before the export returns, the gallery is
 * laid out again and 18 goes to everybody on screen (the host function is called from inside
 * the call); the new page's participants are asked for their stream (2, 3 or 4) with their next
 * frame, and 17 follows for everybody off screen five seconds later. Asking for the page shown
 * changes nothing. The speaker layouts answer the page their strip can show. */
KXSCREEN_API int KXScreen_SetPage(void* hScreen, int iPage);
/* [interface] The page shown, from 0. */
KXSCREEN_API int KXScreen_GetPage(void* hScreen);
/* [interface] The number of pages that show somebody in the layout as it is now (at least 1). */
KXSCREEN_API int KXScreen_GetPageCount(void* hScreen);

/* ------------------------------------------------------------------------ */
/* Sharing                                                                   */
/* ------------------------------------------------------------------------ */

/* [any thread] true: while the external screen is open (KXScreenExt_Open), a share that arrives is
 * shown there only and the gallery keeps its layout; false: shares come to the gallery, and one shown
 * on the external screen comes back into it (layout 4, as a share arriving). */
KXSCREEN_API int KXScreen_ChangePrimaryScreen(void* hScreen, bool bPrimary);
/* [any thread] The local user starts (bShare) or stops sharing: "You are sharing" on the local
 * user's tile, KXScreen_IsUserShare answers 1, message 26 on the start. */
KXSCREEN_API int KXScreen_StartLocalShare(void* hScreen, int iShareType, bool bShare);
/* [any thread] */
KXSCREEN_API int KXScreen_StopLocalShare(void* hScreen);
/* [any thread] The share is paused (a marker over its last picture) or resumed. */
KXSCREEN_API int KXScreen_SetSharePaush(void* hScreen, bool bPause);
/* [any thread] The stage is kept for the host's whiteboard (its area: message 25 and
 * KXScreen_GetShareWgtPos); with bDulMode and a share running, share and whiteboard side by side. */
KXSCREEN_API int KXScreen_ShareWhiteBoard(void* hScreen, const char* userID, bool bShare, bool bDulMode);
KXSCREEN_API int KXScreen_ReposShareWgtForAnnonate(void* hScreen);
/* [interface] Non-zero while the local user shares. */
KXSCREEN_API int KXScreen_IsUserShare(void* hScreen);

/* ------------------------------------------------------------------------ */
/* External screen                                                           */
/* ------------------------------------------------------------------------ */
/* One participant, or the share, full screen on a second display. The window
 * follows its screen's geometry and scale; when its screen is removed it
 * closes itself: KXScreenExt_IsOpen answers 0 and KXScreenExt_GetWidgetPtr
 * null from then on, and the window sends QEvent::Hide, which a host that
 * holds the pointer can watch with an event filter. All six belong on the
 * interface thread and answer 0 or null from any other. */

/* [interface] Opens the window full screen on QGuiApplication::screens()[iScreen]; opening again moves
 * it. 0 for a bad handle or a screen that does not exist. */
KXSCREEN_API int KXScreenExt_Open(void* hScreen, int iScreen);
/* [interface] Closes the window. */
KXSCREEN_API int KXScreenExt_Close(void* hScreen);
/* [interface] 1 while the window is open. */
KXSCREEN_API int KXScreenExt_IsOpen(void* hScreen);
/* [interface] The participant shown there (local 8-bit user ID); null or empty: automatic (the share,
 * else whoever speaks, else the gallery's focus participant). The participant gets the large stream
 * and counts as on screen for messages 17 and 18. */
KXSCREEN_API int KXScreenExt_SetUserID(void* hScreen, const char* userID);
/* [interface] The participant shown now; valid until the next call. */
KXSCREEN_API const char* KXScreenExt_GetUserID(void* hScreen);
/* [interface] The window, or null while it is closed. */
KXSCREEN_API QWidget* KXScreenExt_GetWidgetPtr(void* hScreen);

/* ------------------------------------------------------------------------ */
/* Picture-in-picture, subtitles, display                                    */
/* ------------------------------------------------------------------------ */

/* [any thread] */
KXSCREEN_API int KXScreen_ShowPicInPic(void* hScreen, bool bShow);
/* [interface] */
KXSCREEN_API QWidget* KXScreen_GetPicInPicWidgetPtr(void* hScreen);
/* Live captions, drawn as a band near the bottom of the gallery's video: the
 * speaker's name and words, wrapped, at most three lines, the newest at the
 * bottom. The band never covers a strip of small tiles or a page control.
 *
 * [any thread] One sentence as a speech recogniser reports it.
 *   iIndex  names the sentence. A call with a new index starts a new line
 *           below the others; a call with the index of a sentence still kept
 *           replaces its name and text in place. Number sentences so that an
 *           index is not used again for another sentence within 6 s of the
 *           last call that used it (counting up from 0 does it); the value
 *           is only compared, any int will do, one numbering for all
 *           speakers.
 *   iType   0: partial, the sentence is still being heard and may change;
 *           1 (or any other non-zero value): final, the sentence is complete.
 *           A final sentence can be replaced by another final call with its
 *           index (a correction), never by a partial one (a late partial
 *           result is dropped).
 *   name    the speaker, UTF-8; text: the words, UTF-8. Null is the empty
 *           string, bytes that are not UTF-8 are left out, line breaks
 *           show as spaces; only the last 600 characters of a text and
 *           the first 64 of a name are kept. A sentence with empty text is
 *           kept but shows nothing.
 * A sentence goes 6 s after its last change; up to 50 are kept, the oldest
 * dropped first. Called on the interface thread the export acts at once; from
 * another thread it is queued there, and the calls of one thread are applied
 * in the order made. A call that changes nothing costs no drawing and a burst
 * of calls is drawn once, so a recogniser can call on every result. A typical
 * sequence, one speaker, index 7:
 *   KXScreen_AddSentence(h, 0, 7, "Ann", "the budget");
 *   KXScreen_AddSentence(h, 0, 7, "Ann", "the budget for next");
 *   KXScreen_AddSentence(h, 1, 7, "Ann", "The budget for next year.");
 * and Ann's next sentence is index 8. */
KXSCREEN_API int KXScreen_AddSentence(void* hScreen, int iType, int iIndex, char* name, char* text);
/* [any thread] Drops every sentence: the band empties and hides at once (from another thread:
 * when the interface thread runs the call, after the sentences that thread added before it). */
KXSCREEN_API int KXScreen_ClearSubtitles(void* hScreen);
/* [any thread] Shows (true) or hides (false) the band; it starts hidden. Hidden, the gallery keeps
 * taking sentences in and letting them expire, so that opening shows what is being said now. */
KXSCREEN_API int KXScreen_OpenSubtitle(void* hScreen, bool bOpen);
/* [any thread] Scale factors of the primary and the other screen, kept as given. Video needs no call:
 * it is drawn at the pixel ratio of the screen its window is on, and follows a window to another screen. */
KXSCREEN_API int KXScreen_SetDPIs(void* hScreen, double dpi1, double dpi2);
/* [any thread] Light skin on or off. No handle check: call it before KXScreen_Init so that the
 * gallery starts in that skin. */
KXSCREEN_API int KXScreen_SetIsNewSkin(void* hScreen, bool bNewSkin);
/* [any thread] The meeting room window was minimised or restored. No handle check. */
KXSCREEN_API int KXScreen_SetMeetingRoomMinimized(void* hScreen, bool bMinimized);
/* [any thread] An addition of this module: how the process draws video, "gl" (OpenGL) or "raster"
 * (on the CPU, no OpenGL widget in the window). Chosen once per process, at the first KXScreen_Init:
 * KX_RENDERER=auto|gl|raster in the environment, else "renderer=" in the [version] section of
 * the settings file, else auto: "raster" where the OpenGL renderer is a software rasteriser or no
 * OpenGL context can be made, "gl" otherwise. Called before that choice from another thread than
 * the interface thread, it answers what KX_RENDERER forces, else "gl". */
KXSCREEN_API const char* KXScreen_GetRenderer(void);

#ifdef __cplusplus
} /* extern "C" */

extern "C" {
/* [any thread] Places the gallery at rect, in its parent's coordinates. flags: 0 move and show,
 * KXSCREEN_MOVE_HIDE (1) move and hide, KXSCREEN_MOVE_RAISE (2) move, show and raise. */
enum { KXSCREEN_MOVE_SHOW = 0, KXSCREEN_MOVE_HIDE = 1, KXSCREEN_MOVE_RAISE = 2 };
KXSCREEN_API int KXScreen_MoveWindow(void* hScreen, QRect rect, int flags);
/* [any thread] Name (local 8-bit), call state and head image of an invited participant. */
KXSCREEN_API int KXScreen_SetUnjoinedPersonInfo(void* hScreen, void* hPlay, char* name, int iStatus, const QImage& image);
/* [any thread] Text watermark over shared screens. */
KXSCREEN_API int KXScreen_SetShareWatermark(void* hScreen, QString text, bool bShow);
/* [interface] Geometry of the share tile in global coordinates (empty when none). */
KXSCREEN_API QRect KXScreen_GetShareWgtPos(void* hScreen);
}

/* Function pointer types for hosts that resolve the exports at run time. */
typedef const char* (*PFN_KXScreen_GetVersion)(void);
typedef void* (*PFN_KXScreen_Init)(QWidget*, const char*, KXScreenMsgCallback);
typedef void (*PFN_KXScreen_Release)(void*);
typedef int (*PFN_KXScreen_SetParent)(void*, QWidget*);
typedef void* (*PFN_KXScreen_AddPerson)(void*, char*, char*, char*, int64_t, int, void*, int);
typedef int (*PFN_KXScreen_DelPerson)(void*, void*);
typedef int (*PFN_KXScreen_PlayFrame)(void*, void*, void*);
typedef int (*PFN_KXScreen_Preview)(void*, void*, bool);
typedef int (*PFN_KXScreen_SetMute)(void*, void*, int);
typedef int (*PFN_KXScreen_SetHasMic)(void*, void*, bool);
typedef int (*PFN_KXScreen_SetPersonInfo)(void*, void*, bool, int, char*);
typedef int (*PFN_KXScreen_SetPersonHeadImg)(void*, void*, const QImage*);
typedef int (*PFN_KXScreen_SetUnjoinedPersonInfo)(void*, void*, char*, int, const QImage&);
typedef int (*PFN_KXScreen_SetVolume)(void*, void*, int);
typedef int (*PFN_KXScreen_AllLook)(void*, void*, int);
typedef int (*PFN_KXScreen_LockLook)(void*, void*, int);
typedef const char* (*PFN_KXScreen_GetUserID)(void*);
typedef int (*PFN_KXScreen_FocusByUserID)(void*, char*);
typedef int (*PFN_KXScreen_SetVoiceActivateByUserID)(void*, char*);
typedef int (*PFN_KXScreen_CancelVoiceActivate)(void*);
typedef int (*PFN_KXScreen_SetCurSpeakPerson)(void*, char*);
typedef int (*PFN_KXScreen_SetCurMode)(void*, int);
typedef int (*PFN_KXScreen_GetCurMode)(void*);
typedef int (*PFN_KXScreen_MoreInHide)(void*, void*);
typedef int (*PFN_KXScreen_MoveWindow)(void*, QRect, int);
typedef int (*PFN_KXScreen_JoinMeetingFinish)(void*);
typedef int (*PFN_KXScreen_ChangePrimaryScreen)(void*, bool);
typedef int (*PFN_KXScreen_StartLocalShare)(void*, int, bool);
typedef int (*PFN_KXScreen_StopLocalShare)(void*);
typedef int (*PFN_KXScreen_SetShareWatermark)(void*, QString, bool);
typedef int (*PFN_KXScreen_SetSharePaush)(void*, bool);
typedef int (*PFN_KXScreen_ShareWhiteBoard)(void*, const char*, bool, bool);
typedef int (*PFN_KXScreen_ReposShareWgtForAnnonate)(void*);
typedef QRect (*PFN_KXScreen_GetShareWgtPos)(void*);
typedef int (*PFN_KXScreen_IsUserShare)(void*);
typedef int (*PFN_KXScreen_UpdateNetWeak)(void*, const char*, bool, int);
typedef int (*PFN_KXScreen_ShowPicInPic)(void*, bool);
typedef QWidget* (*PFN_KXScreen_GetPicInPicWidgetPtr)(void*);
typedef int (*PFN_KXScreen_IsIconic)(void*);
typedef int (*PFN_KXScreen_SetPage)(void*, int);
typedef int (*PFN_KXScreen_GetPage)(void*);
typedef int (*PFN_KXScreen_GetPageCount)(void*);
typedef int (*PFN_KXScreen_AddSentence)(void*, int, int, char*, char*);
typedef int (*PFN_KXScreen_ClearSubtitles)(void*);
typedef int (*PFN_KXScreen_OpenSubtitle)(void*, bool);
typedef int (*PFN_KXScreen_SetDPIs)(void*, double, double);
typedef int (*PFN_KXScreen_SetIsNewSkin)(void*, bool);
typedef int (*PFN_KXScreen_SetMeetingRoomMinimized)(void*, bool);
typedef const char* (*PFN_KXScreen_GetRenderer)(void);
typedef int (*PFN_KXScreenExt_Open)(void*, int);
typedef int (*PFN_KXScreenExt_Close)(void*);
typedef int (*PFN_KXScreenExt_IsOpen)(void*);
typedef int (*PFN_KXScreenExt_SetUserID)(void*, const char*);
typedef const char* (*PFN_KXScreenExt_GetUserID)(void*);
typedef QWidget* (*PFN_KXScreenExt_GetWidgetPtr)(void*);
#endif /* __cplusplus */

#endif /* KXSCREENMOD2_H */
