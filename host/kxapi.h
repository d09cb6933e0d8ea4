// The module's exports as a host sees them: loaded at run time and resolved by
// name into the function pointer types of the public header. Nothing else of
// the module is linked or included.
#ifndef KXHOST_KXAPI_H
#define KXHOST_KXAPI_H

#include "kxscreenmod2.h"

#include <QLibrary>
#include <QString>
#include <type_traits>

struct KxApi
{
    PFN_KXScreen_GetVersion GetVersion = nullptr;
    PFN_KXScreen_SetIsNewSkin SetIsNewSkin = nullptr;
    PFN_KXScreen_Init Init = nullptr;
    PFN_KXScreen_Release Release = nullptr;
    PFN_KXScreen_MoveWindow MoveWindow = nullptr;
    PFN_KXScreen_JoinMeetingFinish JoinMeetingFinish = nullptr;
    PFN_KXScreen_SetCurMode SetCurMode = nullptr;
    PFN_KXScreen_GetCurMode GetCurMode = nullptr;
    PFN_KXScreen_SetPage SetPage = nullptr;
    PFN_KXScreen_GetPage GetPage = nullptr;
    PFN_KXScreen_GetPageCount GetPageCount = nullptr;
    PFN_KXScreen_AddPerson AddPerson = nullptr;
    PFN_KXScreen_DelPerson DelPerson = nullptr;
    PFN_KXScreen_PlayFrame PlayFrame = nullptr;
    PFN_KXScreen_Preview Preview = nullptr;
    PFN_KXScreen_SetPersonInfo SetPersonInfo = nullptr;
    PFN_KXScreen_SetPersonHeadImg SetPersonHeadImg = nullptr;
    PFN_KXScreen_SetUnjoinedPersonInfo SetUnjoinedPersonInfo = nullptr;
    PFN_KXScreen_SetMute SetMute = nullptr;
    PFN_KXScreen_SetHasMic SetHasMic = nullptr;
    PFN_KXScreen_SetVolume SetVolume = nullptr;
    PFN_KXScreen_SetCurSpeakPerson SetCurSpeakPerson = nullptr;
    PFN_KXScreen_SetVoiceActivateByUserID SetVoiceActivateByUserID = nullptr;
    PFN_KXScreen_CancelVoiceActivate CancelVoiceActivate = nullptr;
    PFN_KXScreen_UpdateNetWeak UpdateNetWeak = nullptr;
    PFN_KXScreen_StartLocalShare StartLocalShare = nullptr;
    PFN_KXScreen_StopLocalShare StopLocalShare = nullptr;
    PFN_KXScreen_SetShareWatermark SetShareWatermark = nullptr;
    PFN_KXScreen_SetSharePaush SetSharePaush = nullptr;
    PFN_KXScreen_ShareWhiteBoard ShareWhiteBoard = nullptr;
    PFN_KXScreen_ShowPicInPic ShowPicInPic = nullptr;
    PFN_KXScreen_GetPicInPicWidgetPtr GetPicInPicWidgetPtr = nullptr;
    PFN_KXScreen_SetMeetingRoomMinimized SetMeetingRoomMinimized = nullptr;
    PFN_KXScreen_ChangePrimaryScreen ChangePrimaryScreen = nullptr;
    PFN_KXScreen_AddSentence AddSentence = nullptr;
    PFN_KXScreen_OpenSubtitle OpenSubtitle = nullptr;
    PFN_KXScreen_GetRenderer GetRenderer = nullptr;
    PFN_KXScreenExt_Open ExtOpen = nullptr;
    PFN_KXScreenExt_Close ExtClose = nullptr;
    PFN_KXScreenExt_IsOpen ExtIsOpen = nullptr;
    PFN_KXScreenExt_SetUserID ExtSetUserID = nullptr;
    PFN_KXScreenExt_GetUserID ExtGetUserID = nullptr;
    PFN_KXScreenExt_GetWidgetPtr ExtGetWidgetPtr = nullptr;

    // Loads the library and resolves every pointer above; false (with the
    // reason in *error) when the file or any export is missing.
    bool load(const QString& path, QString* error)
    {
        m_lib.setFileName(path);
        if (!m_lib.load()) {
            *error = m_lib.errorString();
            return false;
        }
        bool ok = true;
        auto get = [&](auto& fn, const char* name) {
            fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(m_lib.resolve(name));
            if (!fn) {
                *error += QStringLiteral("missing export %1\n").arg(QLatin1String(name));
                ok = false;
            }
        };
        get(GetVersion, "KXScreen_GetVersion");
        get(SetIsNewSkin, "KXScreen_SetIsNewSkin");
        get(Init, "KXScreen_Init");
        get(Release, "KXScreen_Release");
        get(MoveWindow, "KXScreen_MoveWindow");
        get(JoinMeetingFinish, "KXScreen_JoinMeetingFinish");
        get(SetCurMode, "KXScreen_SetCurMode");
        get(GetCurMode, "KXScreen_GetCurMode");
        get(SetPage, "KXScreen_SetPage");
        get(GetPage, "KXScreen_GetPage");
        get(GetPageCount, "KXScreen_GetPageCount");
        get(AddPerson, "KXScreen_AddPerson");
        get(DelPerson, "KXScreen_DelPerson");
        get(PlayFrame, "KXScreen_PlayFrame");
        get(Preview, "KXScreen_Preview");
        get(SetPersonInfo, "KXScreen_SetPersonInfo");
        get(SetPersonHeadImg, "KXScreen_SetPersonHeadImg");
        get(SetUnjoinedPersonInfo, "KXScreen_SetUnjoinedPersonInfo");
        get(SetMute, "KXScreen_SetMute");
        get(SetHasMic, "KXScreen_SetHasMic");
        get(SetVolume, "KXScreen_SetVolume");
        get(SetCurSpeakPerson, "KXScreen_SetCurSpeakPerson");
        get(SetVoiceActivateByUserID, "KXScreen_SetVoiceActivateByUserID");
        get(CancelVoiceActivate, "KXScreen_CancelVoiceActivate");
        get(UpdateNetWeak, "KXScreen_UpdateNetWeak");
        get(StartLocalShare, "KXScreen_StartLocalShare");
        get(StopLocalShare, "KXScreen_StopLocalShare");
        get(SetShareWatermark, "KXScreen_SetShareWatermark");
        get(SetSharePaush, "KXScreen_SetSharePaush");
        get(ShareWhiteBoard, "KXScreen_ShareWhiteBoard");
        get(ShowPicInPic, "KXScreen_ShowPicInPic");
        get(GetPicInPicWidgetPtr, "KXScreen_GetPicInPicWidgetPtr");
        get(SetMeetingRoomMinimized, "KXScreen_SetMeetingRoomMinimized");
        get(ChangePrimaryScreen, "KXScreen_ChangePrimaryScreen");
        get(AddSentence, "KXScreen_AddSentence");
        get(OpenSubtitle, "KXScreen_OpenSubtitle");
        get(GetRenderer, "KXScreen_GetRenderer");
        get(ExtOpen, "KXScreenExt_Open");
        get(ExtClose, "KXScreenExt_Close");
        get(ExtIsOpen, "KXScreenExt_IsOpen");
        get(ExtSetUserID, "KXScreenExt_SetUserID");
        get(ExtGetUserID, "KXScreenExt_GetUserID");
        get(ExtGetWidgetPtr, "KXScreenExt_GetWidgetPtr");
        return ok;
    }

private:
    // Stays loaded until the process ends: the module's widgets and its
    // application hooks must not lose their code under them.
    QLibrary m_lib;
};

#endif
