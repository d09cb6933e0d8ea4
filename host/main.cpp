// kxhost - the reference host of the KXScreenMod2 video gallery.
//
// A simulated meeting client that embeds the gallery the way a real one does,
// and the worked example of how to do it. Read it in this order:
//
//   1. main()                    the host owns QApplication, then loads the
//                                library and resolves the exports (kxapi.h)
//   2. HostWindow::openGallery   skin, KXScreen_Init inside our own widget,
//                                KXScreen_MoveWindow on every resize
//   3. HostWindow::joinMeeting   participants in (meeting.cpp), then
//                                KXScreen_JoinMeetingFinish
//   4. onGalleryMessage          the one callback: stream types 2/3/4 choose
//                                the layer of a participant's video we
//                                receive, 17/18 stop and resume receiving it
//   5. mediaengine.cpp           a thread per participant with video: it
//                                decodes that layer (clipdecoder.cpp) and
//                                calls KXScreen_PlayFrame with each picture
//   6. HostWindow::closeGallery  media threads end before KXScreen_Release
//
// Everything else (menus, the side panel, scripts, the headless summary, the
// clips of cliplibrary.cpp) is there to drive and watch the gallery.
#include "cliplibrary.h"
#include "kxapi.h"
#include "mediaengine.h"
#include "meeting.h"
#include "statuspanel.h"

#include <QAction>
#include <QBasicTimer>
#include <QApplication>
#include <QCloseEvent>
#include <QCommandLineParser>
#include <QCursor>
#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QRegularExpression>
#include <QSettings>
#include <QSplitter>
#include <QTimerEvent>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

class HostWindow;

namespace {

struct Options
{
    QString library = QStringLiteral(KX_DEFAULT_LIBRARY);
    int participants = 12;
    int mode = KXSCREEN_LAYOUT_EQUAL_CUT;
    bool lightSkin = false;
    bool share = false;
    int extScreen = -1; // --ext-screen N
    bool subtitles = false;
    bool allVideo = false;
    bool scenario = false;
    bool showResolution = false;
    bool control = false;
    bool synthetic = false; // painted pictures instead of encoded video
    QString clips;          // where the participants' clips are kept
    QString script;
    QString screenshot;
    double after = 8;
    QString summaryJson;
    QSize size{1600, 900};
};

const char* const kModeNames[] = {"", "Equal grid", "Six-cut", "Eight-cut", "Picture in picture",
                                  "Speaker, strip right", "Speaker, strip bottom", "Speaker, strip top",
                                  "Two speakers", "Full screen"};

// People join, leave, mute, turn video on and off, speak and share; it repeats.
const char* const kScenario =
    "t=1:speak #1 80;t=3:add;t=4:speak #2 60;t=5:mic #3 toggle;t=7:video #3 off;t=8:speak #4 90;"
    "t=10:weak #2 on;t=12:share on #1;t=19:share off;t=20:video #3 on;t=21:weak #2 off;t=22:mic #3 toggle;"
    "t=23:speak #5 70;t=25:remove;t=26:mode 6;t=31:page next;t=34:mode 1";
const double kScenarioPeriod = 38;

// Which layer of a participant's video a stream type subscribes to: every
// participant sends three (small, ordinary, large), as a simulcast sender does.
int layerFor(unsigned int streamType)
{
    switch (streamType) {
    case KXSCREEN_STREAM_LARGE: return 2;
    case KXSCREEN_STREAM_NORMAL: return 1;
    default: return 0;
    }
}

// The widget the gallery lives in. The gallery does not follow its parent's
// size by itself: the host places it on every resize.
class GalleryArea : public QWidget
{
public:
    using QWidget::QWidget;
    std::function<void()> onResize;

protected:
    void resizeEvent(QResizeEvent* e) override
    {
        QWidget::resizeEvent(e);
        if (onResize)
            onResize();
    }
};

HostWindow* g_host = nullptr; // the callback below has no context pointer of its own
std::mutex g_controlLock;     // guards g_host for the stdin reader thread

int onGalleryMessage(unsigned int msg, uint64_t wParam, uint64_t lParam);

} // namespace

class HostWindow : public QMainWindow
{
public:
    HostWindow(const KxApi& api, const Options& opt)
        : m_api(api)
        , m_opt(opt)
        , m_clips(opt.clips)
        , m_media(api, opt.synthetic ? nullptr : &m_clips)
        , m_meeting(api, m_media)
        , m_light(opt.lightSkin)
    {
        m_clock.start();
        m_meeting.populate(opt.participants, opt.allVideo);
        m_area = new GalleryArea;
        m_area->setAutoFillBackground(true);
        m_area->onResize = [this]() {
            if (m_screen)
                m_api.MoveWindow(m_screen, m_area->rect(), KXSCREEN_MOVE_SHOW);
        };
        m_panel = new StatusPanel(m_meeting, m_counters);
        auto* split = new QSplitter;
        split->addWidget(m_area);
        split->addWidget(m_panel);
        split->setStretchFactor(0, 1);
        split->setSizes({opt.size.width() - 400, 400});
        setCentralWidget(split);
        setWindowTitle(tr("kxhost \u2013 simulated meeting"));
        resize(opt.size);
        buildMenus();
        auto* tick = new QTimer(this);
        connect(tick, &QTimer::timeout, this, &HostWindow::refresh);
        tick->start(500);
        // The gallery settings file lives in <base directory>/user_data/sys_ver.ini.
        QDir(m_baseDir.path()).mkpath(QStringLiteral("user_data"));
        QSettings ini(m_baseDir.filePath(QStringLiteral("user_data/sys_ver.ini")), QSettings::IniFormat);
        ini.setValue(QStringLiteral("version/show_resolution"), opt.showResolution);
        ini.sync();
        std::lock_guard<std::mutex> guard(g_controlLock);
        g_host = this;
    }

    ~HostWindow() override
    {
        {
            std::lock_guard<std::mutex> guard(g_controlLock);
            g_host = nullptr;
        }
        closeGallery();
    }

    // The video of everyone who has joined with a camera, encoded before the
    // meeting starts if this is the first run (anyone later gets theirs when
    // their video starts).
    bool prepareMedia()
    {
        if (m_opt.synthetic)
            return true;
        QVector<ClipRequest> wanted;
        for (const Participant* p : m_meeting.present())
            if (p->video && !p->unjoined)
                wanted.append(clipRequest(*p));
        QString error;
        if (!m_clips.prepare(wanted, &error)) {
            std::fprintf(stderr, "kxhost: cannot make the participants' video: %s\n", qPrintable(error));
            return false;
        }
        return true;
    }

    // Creates the gallery inside m_area. The skin is read when the gallery is
    // made, so it is set first.
    bool openGallery()
    {
        QPalette pal = m_area->palette();
        pal.setColor(QPalette::Window, m_light ? QColor(0xF7, 0xF7, 0xF7) : QColor(12, 16, 23));
        m_area->setPalette(pal);
        m_api.SetIsNewSkin(nullptr, m_light);
        const QByteArray baseDir = m_baseDir.path().toUtf8();
        m_screen = m_api.Init(m_area, baseDir.constData(), onGalleryMessage);
        if (!m_screen) {
            std::fprintf(stderr, "kxhost: KXScreen_Init failed\n");
            return false;
        }
        m_api.MoveWindow(m_screen, m_area->rect(), KXSCREEN_MOVE_SHOW);
        m_api.SetCurMode(m_screen, m_opt.mode);
        m_counters.renderer = QString::fromLatin1(m_api.GetRenderer());
        return true;
    }

    // The simulated join: everyone present is handed to the gallery, then the
    // gallery hears that joining is done (ordering and the video stop/resume
    // timer start only then).
    void joinMeeting()
    {
        m_meeting.enterGallery(m_screen);
        m_api.JoinMeetingFinish(m_screen);
        if (m_opt.subtitles)
            command(QStringLiteral("subtitles on"));
        if (m_opt.extScreen >= 0)
            command(QStringLiteral("ext open %1").arg(m_opt.extScreen));
        if (m_opt.share)
            m_meeting.startShare(m_meeting.find(QStringLiteral("#1")));
        if (!m_opt.script.isEmpty())
            runScript(m_opt.script, 0);
        if (m_opt.scenario)
            runScript(QString::fromLatin1(kScenario), kScenarioPeriod);
        if (!m_opt.screenshot.isEmpty())
            QTimer::singleShot(int(m_opt.after * 1000), Qt::PreciseTimer, this, &HostWindow::finishHeadless);
        if (m_opt.control)
            startControlReader();
    }

    // Media threads end first: no PlayFrame may run into a released gallery.
    void closeGallery()
    {
        if (!m_screen)
            return;
        m_meeting.leaveGallery();
        m_api.Release(m_screen);
        m_screen = nullptr;
    }

    // Notifications from the gallery, on this (the interface) thread.
    int onMessage(unsigned int msg, uint64_t /*record*/, uint64_t userData)
    {
        ++m_counters.messages[msg];
        // The user data is the Participant we gave to KXScreen_AddPerson; it is
        // looked up rather than trusted, since a message may name someone who
        // has just left.
        Participant* p = m_meeting.fromUserData(userData);
        switch (msg) {
        case KXSCREEN_MSG_STREAM_SMALL:
        case KXSCREEN_MSG_STREAM_NORMAL:
        case KXSCREEN_MSG_STREAM_LARGE:
            if (p) {
                p->streamType = int(msg);
                p->wantedLayer = layerFor(msg); // the media thread switches at that layer's next key frame
            }
            break;
        case KXSCREEN_MSG_REMOTE_VIDEO_CLOSE:
            if (p) {
                p->pulled = false; // nobody sees it: stop pulling its video
                ++p->videoCloses;
                p->lastCloseMs = m_clock.elapsed();
            }
            break;
        case KXSCREEN_MSG_REMOTE_VIDEO_OPEN:
            if (p) {
                p->pulled = true;
                ++p->videoOpens;
                p->lastOpenMs = m_clock.elapsed();
            }
            break;
        // Clicks on a tile's controls: act once the gallery has finished handling the click.
        case KXSCREEN_MSG_CLICK_AUDIO:
            if (p)
                QTimer::singleShot(0, this, [this, p]() { m_meeting.setMuted(p, !p->muted); });
            break;
        case KXSCREEN_MSG_CLICK_MORE:
            if (p)
                QTimer::singleShot(0, this, [this, p]() { participantMenu(p); });
            break;
        case KXSCREEN_MSG_RECALL_PERSON:
            if (p)
                QTimer::singleShot(0, this, [this, p]() { m_meeting.recall(p); });
            break;
        default:
            break;
        }
        return 0;
    }

    // One line of the command language shared by --script, --control and the menus.
    void command(const QString& line)
    {
        const QStringList w = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (w.isEmpty())
            return;
        const QString verb = w.at(0);
        const QString arg = w.value(1);
        auto who = [&](const QString& key) { return key.isEmpty() ? defaultParticipant() : m_meeting.find(key); };
        auto flag = [&](const QString& word, bool current) {
            return word == QLatin1String("toggle") || word.isEmpty() ? !current : word == QLatin1String("on");
        };
        if (!m_screen && verb != QLatin1String("state") && verb != QLatin1String("quit"))
            return;
        if (verb == QLatin1String("mode")) {
            m_api.SetCurMode(m_screen, arg.toInt());
        } else if (verb == QLatin1String("page")) {
            turnPage(arg);
        } else if (verb == QLatin1String("focus")) {
            focusTile(qMax(1, arg.toInt()));
        } else if (verb == QLatin1String("add")) {
            for (int i = 0, n = qMax(1, arg.toInt()); i < n; ++i)
                m_meeting.addGuest(w.value(2) != QLatin1String("novideo"));
        } else if (verb == QLatin1String("remove")) {
            m_meeting.remove(arg.isEmpty() ? whoToRemove() : m_meeting.find(arg));
        } else if (verb == QLatin1String("video")) {
            if (Participant* p = who(arg))
                m_meeting.setVideo(p, flag(w.value(2), p->video));
        } else if (verb == QLatin1String("mic")) {
            if (Participant* p = who(arg)) // "on" opens the microphone
                m_meeting.setMuted(p, !flag(w.value(2), !p->muted));
        } else if (verb == QLatin1String("weak")) {
            if (Participant* p = who(arg))
                m_meeting.setWeak(p, flag(w.value(2), p->weak));
        } else if (verb == QLatin1String("speak")) {
            m_meeting.speak(who(arg), w.size() > 2 ? w.at(2).toInt() : 75);
            if (Participant* p = who(arg))
                m_captionSpeaker = p;
        } else if (verb == QLatin1String("voice")) {
            // "voice on [NAME]": that participant on the stage at once, and the
            // stage follows who speaks again; "voice off": it stops following
            if (arg == QLatin1String("off")) {
                m_api.CancelVoiceActivate(m_screen);
            } else if (Participant* p = who(w.value(2))) {
                QByteArray id = p->userId;
                m_api.SetVoiceActivateByUserID(m_screen, id.data());
            }
        } else if (verb == QLatin1String("zoom")) {
            // "zoom in|out [N]", "zoom fit", "zoom pan DX DY": what a person
            // does to read a share on the stage at actual size (Ctrl+'+',
            // Ctrl+'-', Ctrl+0 on the tile, a drag); the module does the rest
            zoomStage(arg, w.value(2).toInt(), w.value(3).toInt());
        } else if (verb == QLatin1String("subtitles")) {
            m_subtitles = flag(arg, m_subtitles);
            m_api.OpenSubtitle(m_screen, m_subtitles);
            if (m_subtitles)
                m_captionTimer.start(350, this);
            else
                m_captionTimer.stop();
        } else if (verb == QLatin1String("share")) {
            if (flag(arg, m_meeting.shareStream() != nullptr))
                m_meeting.startShare(who(w.value(2)));
            else
                m_meeting.stopShare();
        } else if (verb == QLatin1String("pause")) {
            m_sharePaused = flag(arg, m_sharePaused);
            m_api.SetSharePaush(m_screen, m_sharePaused);
        } else if (verb == QLatin1String("watermark")) {
            // "watermark on TEXT...", "watermark off"
            m_watermark = flag(arg, m_watermark);
            m_api.SetShareWatermark(m_screen, w.mid(2).join(QLatin1Char(' ')).isEmpty()
                                                  ? QStringLiteral("kxhost demo %1").arg(QDate::currentDate().toString(Qt::ISODate))
                                                  : w.mid(2).join(QLatin1Char(' ')),
                                    m_watermark);
        } else if (verb == QLatin1String("whiteboard")) {
            // "whiteboard on|off|toggle [dual]": the default participant's whiteboard
            m_whiteboard = flag(arg, m_whiteboard);
            Participant* p = who(QString());
            m_api.ShareWhiteBoard(m_screen, p ? p->userId.constData() : "", m_whiteboard, w.value(2) == QLatin1String("dual"));
        } else if (verb == QLatin1String("localshare")) {
            m_localShare = flag(arg, m_localShare);
            if (m_localShare)
                m_api.StartLocalShare(m_screen, 1, true);
            else
                m_api.StopLocalShare(m_screen);
        } else if (verb == QLatin1String("pip")) {
            QWidget* pip = m_api.GetPicInPicWidgetPtr(m_screen);
            m_api.ShowPicInPic(m_screen, flag(arg, pip && pip->isVisible()));
        } else if (verb == QLatin1String("ext")) {
            // "ext open N", "ext close", "ext user NAME" (no name: automatic),
            // "ext share on|off": shares go to the external screen only
            if (arg == QLatin1String("open")) {
                if (!m_api.ExtOpen(m_screen, w.value(2).toInt()))
                    std::fprintf(stderr, "kxhost: no screen %s\n", qPrintable(w.value(2)));
            } else if (arg == QLatin1String("close")) {
                m_api.ExtClose(m_screen);
            } else if (arg == QLatin1String("user")) {
                Participant* p = w.size() > 2 ? m_meeting.find(w.at(2)) : nullptr;
                m_api.ExtSetUserID(m_screen, p ? p->userId.constData() : nullptr);
            } else if (arg == QLatin1String("share")) {
                m_api.ChangePrimaryScreen(m_screen, flag(w.value(2), false));
            }
        } else if (verb == QLatin1String("minimize")) {
            m_roomMinimized = flag(arg, m_roomMinimized);
            m_api.SetMeetingRoomMinimized(m_screen, m_roomMinimized);
        } else if (verb == QLatin1String("skin")) {
            setSkin(arg == QLatin1String("light"));
        } else if (verb == QLatin1String("state")) {
            const QByteArray json = QJsonDocument(report()).toJson(QJsonDocument::Compact);
            std::printf("STATE %s\n", json.constData());
            std::fflush(stdout);
        } else if (verb == QLatin1String("shot")) {
            windowShot().save(arg);
        } else if (verb == QLatin1String("quit")) {
            close();
        } else {
            std::fprintf(stderr, "kxhost: unknown command: %s\n", qPrintable(line));
        }
        refresh();
    }

protected:
    // Live captions for whoever spoke last: the sentence grows word by word
    // as a recogniser revises it (partial, one index), then is made final
    // and the next sentence takes the next index.
    void timerEvent(QTimerEvent* e) override
    {
        if (e->timerId() != m_captionTimer.timerId() || !m_screen)
            return QMainWindow::timerEvent(e);
        static const char* const kLines[] = {
            "Shall we start with the numbers for the third quarter", "The new build reached every office on Monday",
            "I can share my screen if that helps", "Let us keep the last ten minutes for questions"};
        Participant* p = m_captionSpeaker;
        if (!p || p->left)
            p = m_captionSpeaker = m_meeting.find(QStringLiteral("#1"));
        if (!p)
            return;
        const QStringList words = QString::fromLatin1(kLines[m_captionLine % 4]).split(QLatin1Char(' '));
        QByteArray name = p->name.toUtf8();
        if (++m_captionWords < words.size()) {
            QByteArray text = words.mid(0, m_captionWords).join(QLatin1Char(' ')).toUtf8();
            m_api.AddSentence(m_screen, 0, m_captionIndex, name.data(), text.data());
            return;
        }
        QByteArray text = (words.join(QLatin1Char(' ')) + QLatin1Char('.')).toUtf8();
        m_api.AddSentence(m_screen, 1, m_captionIndex, name.data(), text.data());
        ++m_captionIndex;
        ++m_captionLine;
        m_captionWords = 0;
    }

    void closeEvent(QCloseEvent* e) override
    {
        closeGallery();
        QMainWindow::closeEvent(e);
    }

private:
    void buildMenus()
    {
        QMenu* layout = menuBar()->addMenu(tr("&Layout"));
        for (int m = 1; m <= 9; ++m)
            layout->addAction(QStringLiteral("&%1  %2").arg(m).arg(tr(kModeNames[m])),
                              this, [this, m]() { command(QStringLiteral("mode %1").arg(m)); },
                              QKeySequence(Qt::Key_0 + m));
        layout->addSeparator();
        layout->addAction(tr("Next page"), this, [this]() { command(QStringLiteral("page next")); },
                          QKeySequence(Qt::Key_PageDown));
        layout->addAction(tr("Previous page"), this, [this]() { command(QStringLiteral("page prev")); },
                          QKeySequence(Qt::Key_PageUp));

        QMenu* meeting = menuBar()->addMenu(tr("&Meeting"));
        auto add = [&](const QString& text, const QString& cmd, const QKeySequence& key) {
            meeting->addAction(text, this, [this, cmd]() { command(cmd); }, key);
        };
        add(tr("Add a participant"), QStringLiteral("add"), QKeySequence(Qt::Key_Insert));
        add(tr("Add a participant without video"), QStringLiteral("add 1 novideo"), QKeySequence(Qt::SHIFT + Qt::Key_Insert));
        add(tr("Remove the selected participant"), QStringLiteral("remove"), QKeySequence::Delete);
        meeting->addSeparator();
        add(tr("Toggle video"), QStringLiteral("video"), QKeySequence(Qt::Key_V));
        add(tr("Toggle microphone"), QStringLiteral("mic"), QKeySequence(Qt::Key_M));
        add(tr("Speak"), QStringLiteral("speak"), QKeySequence(Qt::Key_K));
        add(tr("Toggle weak network"), QStringLiteral("weak"), QKeySequence(Qt::Key_W));
        add(tr("Start or stop a screen share"), QStringLiteral("share toggle"), QKeySequence(Qt::Key_S));
        add(tr("Pause or resume the share"), QStringLiteral("pause"), QKeySequence(Qt::Key_P));
        add(tr("Share watermark"), QStringLiteral("watermark"), QKeySequence(Qt::SHIFT + Qt::Key_W));
        add(tr("Whiteboard beside the share"), QStringLiteral("whiteboard toggle dual"), QKeySequence(Qt::Key_B));
        add(tr("Share my screen"), QStringLiteral("localshare"), QKeySequence(Qt::SHIFT + Qt::Key_S));
        add(tr("Show or hide the floating window"), QStringLiteral("pip"), QKeySequence(Qt::Key_F));
        add(tr("Minimise the meeting room"), QStringLiteral("minimize"), QKeySequence(Qt::SHIFT + Qt::Key_M));

        QMenu* view = menuBar()->addMenu(tr("&View"));
        view->addAction(tr("Light skin"), this, [this]() { command(QStringLiteral("skin light")); },
                        QKeySequence(Qt::Key_L));
        view->addAction(tr("Dark skin"), this, [this]() { command(QStringLiteral("skin dark")); },
                        QKeySequence(Qt::Key_D));
    }

    // Our page keys and commands: the gallery turns the page as its own page
    // controls do (it clamps, so the first and last pages need no care here).
    // "next", "prev" or a page number counted from 1.
    void turnPage(const QString& to)
    {
        const int page = to.isEmpty() || to == QLatin1String("next") ? m_api.GetPage(m_screen) + 1
                         : to == QLatin1String("prev")                ? m_api.GetPage(m_screen) - 1
                                                                      : to.toInt() - 1;
        m_api.SetPage(m_screen, page);
        m_counters.lastPageTurnMs = m_clock.elapsed();
    }

    // The largest tile on screen (the stage) gets the keys and the drag a
    // person would give it.
    void zoomStage(const QString& how, int a, int b)
    {
        QWidget* tile = nullptr;
        for (QWidget* w : m_area->findChildren<QWidget*>())
            if (w->inherits("CPlayWidget") && w->isVisible() && (!tile || w->width() > tile->width()))
                tile = w;
        if (!tile)
            return;
        if (how == QLatin1String("pan")) {
            const QPoint from = tile->rect().center();
            for (const auto& step : {std::make_pair(QEvent::MouseButtonPress, from),
                                     std::make_pair(QEvent::MouseMove, from + QPoint(a, b)),
                                     std::make_pair(QEvent::MouseButtonRelease, from + QPoint(a, b))}) {
                QMouseEvent e(step.first, step.second, tile->mapToGlobal(step.second), Qt::LeftButton,
                              step.first == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
                QApplication::sendEvent(tile, &e);
            }
            return;
        }
        const int key = how == QLatin1String("out")   ? Qt::Key_Minus
                        : how == QLatin1String("fit") ? Qt::Key_0
                                                      : Qt::Key_Plus;
        for (int i = 0; i < (key == Qt::Key_0 ? 1 : qMax(1, a)); ++i) {
            QKeyEvent press(QEvent::KeyPress, key, Qt::ControlModifier);
            QApplication::sendEvent(tile, &press);
        }
    }

    // The gallery is the widget in our area that takes the keyboard by a
    // click and by Tab (its tiles take it by Tab only).
    QWidget* galleryWidget() const
    {
        for (QWidget* w : m_area->findChildren<QWidget*>())
            if (w->focusPolicy() == Qt::StrongFocus)
                return w;
        return nullptr;
    }

    // "focus N": the keyboard goes into the gallery as Tab takes it there (to
    // the first tile), then Right to the N-th tile, as a person would press
    // the keys; the tile shows its focus ring.
    void focusTile(int n)
    {
        QWidget* gallery = galleryWidget();
        if (!gallery)
            return;
        activateWindow();
        QApplication::setActiveWindow(this); // also without a window manager (Xvfb)
        gallery->setFocus(Qt::TabFocusReason);
        for (int i = 1; i < n && QApplication::focusWidget(); ++i) {
            QKeyEvent right(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
            QApplication::sendEvent(QApplication::focusWidget(), &right);
        }
    }

    // The gallery takes its skin when it is created: a new skin means a new
    // gallery, told again who is here.
    void setSkin(bool light)
    {
        if (light == m_light)
            return;
        m_light = light;
        const int mode = m_api.GetCurMode(m_screen);
        closeGallery();
        m_opt.mode = mode;
        if (!openGallery()) {
            QApplication::exit(1);
            return;
        }
        m_meeting.enterGallery(m_screen);
        m_api.JoinMeetingFinish(m_screen);
    }

    Participant* defaultParticipant() const
    {
        if (Participant* p = m_panel->selected())
            return p;
        const QVector<Participant*> all = m_meeting.present();
        for (int i = all.size() - 1; i >= 0; --i)
            if (!all.at(i)->self && !all.at(i)->share && !all.at(i)->unjoined)
                return all.at(i);
        return nullptr;
    }

    // The participant selected in the panel, else the last to join.
    Participant* whoToRemove() const
    {
        Participant* p = m_panel->selected();
        return p && !p->self ? p : defaultParticipant();
    }

    void participantMenu(Participant* p)
    {
        QMenu menu(this);
        menu.addAction(p->video ? tr("Turn video off") : tr("Turn video on"), [this, p]() {
            m_meeting.setVideo(p, !p->video);
        });
        menu.addAction(p->muted ? tr("Unmute") : tr("Mute"), [this, p]() { m_meeting.setMuted(p, !p->muted); });
        menu.addAction(tr("Remove from the meeting"), [this, p]() { m_meeting.remove(p); });
        menu.exec(QCursor::pos());
    }

    // "t=SECONDS:command;..." from now on; with a period, again and again.
    void runScript(const QString& script, double period)
    {
        for (const QString& item : script.split(QRegularExpression(QStringLiteral("[;\n]")), Qt::SkipEmptyParts)) {
            const int colon = item.indexOf(QLatin1Char(':'));
            const QString at = item.left(colon).trimmed();
            if (colon < 0 || !at.startsWith(QLatin1String("t="))) {
                std::fprintf(stderr, "kxhost: bad script item: %s\n", qPrintable(item));
                continue;
            }
            const QString cmd = item.mid(colon + 1).trimmed();
            // Precise: coarse timers may swap items a second apart (5 % of their interval).
            QTimer::singleShot(int(at.mid(2).toDouble() * 1000), Qt::PreciseTimer, this, [this, cmd]() { command(cmd); });
        }
        if (period > 0)
            QTimer::singleShot(int(period * 1000), Qt::PreciseTimer, this,
                               [this, script, period]() { runScript(script, period); });
    }

    // --control: one command per line on standard input.
    void startControlReader()
    {
        std::thread([]() {
            std::string line;
            while (std::getline(std::cin, line)) {
                const QString cmd = QString::fromStdString(line).trimmed();
                std::lock_guard<std::mutex> guard(g_controlLock);
                if (!g_host)
                    return;
                QMetaObject::invokeMethod(g_host, [cmd]() { if (g_host) g_host->command(cmd); },
                                          Qt::QueuedConnection);
            }
        }).detach(); // may sit in a read at exit; the process end takes it down
    }

    QJsonObject report()
    {
        QJsonObject r = hostReport(m_meeting, m_counters, m_screen ? m_api.GetCurMode(m_screen) : 0, this, m_area,
                                   m_clock.elapsed());
        if (m_screen) { // counted from 1, as the status bar shows them
            r.insert(QStringLiteral("page"), m_api.GetPage(m_screen) + 1);
            r.insert(QStringLiteral("pages"), m_api.GetPageCount(m_screen));
        }
        if (m_screen && m_api.ExtIsOpen(m_screen)) {
            const QByteArray id = m_api.ExtGetUserID(m_screen);
            QString shown = QString::fromLocal8Bit(id);
            for (Participant* p : m_meeting.present())
                if (p->userId == id)
                    shown = p->share ? QStringLiteral("%1's screen").arg(p->name) : p->name;
            r.insert(QStringLiteral("externalScreen"), shown);
        }
        return r;
    }

    void refresh()
    {
        m_panel->refresh();
        if (m_screen) {
            const int mode = m_api.GetCurMode(m_screen);
            statusBar()->showMessage(
                tr("Layout %1 (%2), page %3 of %4 \u00b7 keys: 1-9 layouts, PgUp/PgDn pages, Ins/Del add/remove, "
                   "V video, M mic, K speak, W weak network, S share, P pause, B whiteboard, F floating window, L/D skin")
                    .arg(mode)
                    .arg(tr(kModeNames[qBound(1, mode, 9)]))
                    .arg(m_api.GetPage(m_screen) + 1)
                    .arg(m_api.GetPageCount(m_screen)));
        }
    }

    // The window as a person sees it: the module's floating window, a
    // window of its own, is drawn where it stands over the meeting window
    // (on Wayland, where no client knows where its windows are, where it
    // opens: the gallery's top-right corner).
    QPixmap windowShot()
    {
        QPixmap shot = grab();
        QWidget* pip = m_screen ? m_api.GetPicInPicWidgetPtr(m_screen) : nullptr;
        if (pip && pip->isVisible()) {
            QPoint at = pip->mapToGlobal(QPoint(0, 0)) - mapToGlobal(QPoint(0, 0));
            if (QGuiApplication::platformName() == QLatin1String("wayland"))
                at = m_area->mapTo(this, QPoint(m_area->width() - pip->width() - 16, 16));
            QPainter painter(&shot);
            painter.drawPixmap(at, pip->grab());
        }
        return shot;
    }

    // --screenshot: save the window, print the summary, leave.
    void finishHeadless()
    {
        refresh();
        const QJsonObject r = report();
        const bool saved = windowShot().save(m_opt.screenshot);
        std::printf("%s", qPrintable(summaryText(r)));
        std::printf("screenshot: %s%s\n", qPrintable(m_opt.screenshot), saved ? "" : " (NOT SAVED)");
        std::fflush(stdout);
        if (!m_opt.summaryJson.isEmpty()) {
            QFile f(m_opt.summaryJson);
            if (f.open(QIODevice::WriteOnly))
                f.write(QJsonDocument(r).toJson());
        }
        closeGallery();
        QApplication::exit(saved ? 0 : 1);
    }

    const KxApi& m_api;
    Options m_opt;
    ClipLibrary m_clips;
    MediaEngine m_media;
    Meeting m_meeting;
    HostCounters m_counters;
    QElapsedTimer m_clock;
    QTemporaryDir m_baseDir;
    bool m_light;
    void* m_screen = nullptr;
    bool m_sharePaused = false;
    bool m_watermark = false;
    bool m_whiteboard = false;
    bool m_localShare = false;
    bool m_roomMinimized = false;
    bool m_subtitles = false;
    QBasicTimer m_captionTimer;
    Participant* m_captionSpeaker = nullptr; // participants are never freed while the host runs
    int m_captionIndex = 1;
    int m_captionLine = 0;
    int m_captionWords = 0;
    GalleryArea* m_area = nullptr;
    StatusPanel* m_panel = nullptr;
};

namespace {

int onGalleryMessage(unsigned int msg, uint64_t wParam, uint64_t lParam)
{
    return g_host ? g_host->onMessage(msg, wParam, lParam) : 0;
}

bool parseOptions(const QApplication& app, Options* o)
{
    QCommandLineParser p;
    p.setApplicationDescription(QStringLiteral("A simulated meeting that drives the KXScreenMod2 gallery."));
    p.addHelpOption();
    const QCommandLineOption participants(QStringLiteral("participants"), QStringLiteral("Meeting size (12)."),
                                          QStringLiteral("N"), QStringLiteral("12"));
    const QCommandLineOption mode(QStringLiteral("mode"), QStringLiteral("Starting layout 1-9 (1)."),
                                  QStringLiteral("M"), QStringLiteral("1"));
    const QCommandLineOption skin(QStringLiteral("skin"), QStringLiteral("light or dark (dark)."),
                                  QStringLiteral("SKIN"), QStringLiteral("dark"));
    const QCommandLineOption share(QStringLiteral("share"), QStringLiteral("The host shares a screen."));
    const QCommandLineOption extScreen(QStringLiteral("ext-screen"),
                                       QStringLiteral("Open the external-screen window on screen N."), QStringLiteral("N"));
    const QCommandLineOption subtitles(QStringLiteral("subtitles"),
                                       QStringLiteral("Live captions for whoever speaks."));
    const QCommandLineOption allVideo(QStringLiteral("all-video"),
                                      QStringLiteral("Everyone has joined with video (no invited participant)."));
    const QCommandLineOption scenario(QStringLiteral("scenario"),
                                      QStringLiteral("People join, leave, mute, share and speak over time."));
    const QCommandLineOption script(QStringLiteral("script"),
                                    QStringLiteral("Timed commands: \"t=SECONDS:COMMAND;...\"."),
                                    QStringLiteral("SCRIPT"));
    const QCommandLineOption control(QStringLiteral("control"),
                                     QStringLiteral("Read commands from standard input; \"state\" prints JSON."));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Save the window to FILE and exit (see --after)."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption after(QStringLiteral("after"), QStringLiteral("Seconds before the screenshot (8)."),
                                   QStringLiteral("SECONDS"), QStringLiteral("8"));
    const QCommandLineOption summary(QStringLiteral("summary-json"),
                                     QStringLiteral("With --screenshot: also write the summary as JSON."),
                                     QStringLiteral("FILE"));
    const QCommandLineOption size(QStringLiteral("size"), QStringLiteral("Window size (1600x900)."),
                                  QStringLiteral("WxH"), QStringLiteral("1600x900"));
    const QCommandLineOption res(QStringLiteral("show-resolution"),
                                 QStringLiteral("The gallery prints each tile's video resolution."));
    const QCommandLineOption library(QStringLiteral("library"), QStringLiteral("The module to load."),
                                     QStringLiteral("PATH"), o->library);
    const QCommandLineOption synthetic(QStringLiteral("synthetic"),
                                       QStringLiteral("Painted pictures instead of encoded video (no codec needed)."));
    const QCommandLineOption clips(QStringLiteral("clips"),
                                   QStringLiteral("Where the participants' clips are made and kept."),
                                   QStringLiteral("DIR"), QCoreApplication::applicationDirPath() + QStringLiteral("/clips"));
    p.addOptions({participants, mode, skin, share, extScreen, subtitles, allVideo, scenario, script, control, screenshot, after, summary,
                  size, res, library, synthetic, clips});
    p.process(app);
    o->participants = qBound(1, p.value(participants).toInt(), 200);
    o->mode = p.value(mode).toInt();
    o->lightSkin = p.value(skin) == QLatin1String("light");
    o->share = p.isSet(share);
    o->subtitles = p.isSet(subtitles);
    o->extScreen = p.isSet(extScreen) ? p.value(extScreen).toInt() : -1;
    o->allVideo = p.isSet(allVideo);
    o->scenario = p.isSet(scenario);
    o->script = p.value(script);
    o->control = p.isSet(control);
    o->screenshot = p.value(screenshot);
    o->after = p.value(after).toDouble();
    o->summaryJson = p.value(summary);
    o->showResolution = p.isSet(res);
    o->library = p.value(library);
    o->synthetic = p.isSet(synthetic);
    o->clips = p.value(clips);
    const QStringList wh = p.value(size).split(QLatin1Char('x'));
    if (wh.size() == 2 && wh.at(0).toInt() > 200 && wh.at(1).toInt() > 200)
        o->size = QSize(wh.at(0).toInt(), wh.at(1).toInt());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    // The host owns the application object and its event loop; the module's
    // widgets live on this thread and run when we pump events.
    QApplication app(argc, argv);
    Options opt;
    parseOptions(app, &opt);

    KxApi api;
    QString error;
    if (!api.load(opt.library, &error)) {
        std::fprintf(stderr, "kxhost: cannot use %s: %s\n", qPrintable(opt.library), qPrintable(error));
        return 2;
    }
    // The header this host was built with describes that version's exports.
    if (std::strcmp(api.GetVersion(), KXSCREENMOD2_VERSION_STRING) != 0)
        std::fprintf(stderr, "kxhost: %s is version %s, this host was built for %s\n", qPrintable(opt.library),
                     api.GetVersion(), KXSCREENMOD2_VERSION_STRING);

    HostWindow window(api, opt);
    if (!window.prepareMedia())
        return 2;
    window.show();
    if (!window.openGallery())
        return 1;
    QTimer::singleShot(300, &window, [&window]() { window.joinMeeting(); }); // signalling takes a moment
    return app.exec();
}
