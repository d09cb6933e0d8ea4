#ifndef KX_GALLERYTEST_H
#define KX_GALLERYTEST_H

// A gallery in a host window, driven through the exports, with access to the
// controller for checking what it did.

#include "cplaywidget.h"
#include "kxscreenhandle.h"
#include "kxscreenmod2.h"
#include "kxtesthelpers.h"
#include "personinfo.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"
#include "qmypagectrl.h"

#include <QWidget>
#include <QtTest>
#include <thread>

namespace kxtest {

inline QDlgScreen* controllerOf(void* h)
{
    return static_cast<KXScreenHandle*>(h)->pMainDlg->GetDlgScreenPtr();
}

inline tagPersonInfo* recordOf(void* hPlay)
{
    return static_cast<ST_KXPlayHdl*>(hPlay)->pPlayData;
}

enum Ctrl { PageNext = 0, StripNext, PagePre, StripPre, PageDown, PageUp, LeftShow, RightHide };

struct Gallery
{
    QWidget host;
    void* h = nullptr;
    QVector<void*> handles;

    explicit Gallery(QSize size, const QByteArray& baseDir = QByteArray())
    {
        host.resize(size + QSize(40, 40));
        host.show();
        h = KXScreen_Init(&host, baseDir.constData(), recorder0);
        KXScreen_MoveWindow(h, QRect(QPoint(0, 0), size), KXSCREEN_MOVE_SHOW);
    }
    ~Gallery()
    {
        KXScreen_Release(h);
        QKXScreenConfig::getInstance()->setCurScreenMode(1);
    }
    QDlgScreen* screen() const { return static_cast<KXScreenHandle*>(h)->pMainDlg->GetDlgScreenPtr(); }
    static tagPersonInfo* rec(void* hPlay) { return static_cast<ST_KXPlayHdl*>(hPlay)->pPlayData; }
    tagPersonInfo* rec(int i) const { return rec(handles.at(i)); }

    // Adds participants from a host thread, join times in order, user data = index + 1.
    void add(int n)
    {
        const int first = handles.size();
        std::thread t([&]() {
            for (int i = first; i < first + n; ++i) {
                QByteArray id = "u" + QByteArray::number(i);
                QByteArray name = "P" + QByteArray::number(i);
                handles.append(KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 1000 + i, 0,
                                                  reinterpret_cast<void*>(quintptr(i + 1)), 1));
            }
        });
        t.join();
        QTRY_COMPARE(screen()->persons().size(), handles.size());
    }
    // One frame for every participant, from a host thread.
    int feed(int w = 640, int hgt = 360)
    {
        Frame f(w, hgt);
        int ok = 0;
        std::thread t([&]() {
            for (void* p : handles)
                ok += KXScreen_PlayFrame(h, p, &f.rec);
        });
        t.join();
        QCoreApplication::processEvents();
        return ok;
    }
    QMyPageCtrl* ctrl(Ctrl c) const { return screen()->pageCtrl(c); }
    QVector<tagPersonInfo*> shown() const
    {
        QVector<tagPersonInfo*> out;
        for (tagPersonInfo* p : screen()->persons())
            if (p->pWidget && p->pWidget->isVisible())
                out.append(p);
        return out;
    }
};

inline void turnWait()
{
    // Page turns closer than 80 ms apart count as one.
    QTest::qWait(100);
}

} // namespace kxtest

#endif
