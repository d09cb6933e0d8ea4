// Small widgets of the module: the style-sheet aware base widget, the gallery's
// page controls, the weak-network spinner, the popup screen shell, and the
// compiled-in images they and the tile overlay use.

#include "modulelog.h"
#include "netweakloading.h"
#include "qdlgpopupscreen.h"
#include "qkxscreenconfig.h"
#include "qmypagectrl.h"
#include "qmywidget.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFrame>
#include <QImage>
#include <QLoggingCategory>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSvgRenderer>
#include <QTimer>
#include <QTranslator>
#include <QtTest>

// Resources compiled into a static library are registered only on request.
static void initModuleResources()
{
    Q_INIT_RESOURCE(kxscreenmod);
}

namespace {

QLoggingCategory::CategoryFilter g_prevFilter = nullptr;

// CTest silences the module's category through QT_LOGGING_RULES, which outranks
// setFilterRules(); a filter has the last word, so the log lines stay checkable.
void enableModuleLog(QLoggingCategory* category)
{
    if (g_prevFilter)
        g_prevFilter(category);
    if (qstrcmp(category->categoryName(), "kxscreen") == 0)
        category->setEnabled(QtDebugMsg, true);
}

// Answers only the popup's title in its own context, so a wrong context or
// source text shows up as an untranslated title.
class PopupTitleTranslator : public QTranslator
{
public:
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int n) const override
    {
        Q_UNUSED(disambiguation);
        Q_UNUSED(n);
        if (qstrcmp(context, "QDlgPopupScreen") == 0 && qstrcmp(sourceText, "dialog") == 0)
            return QStringLiteral("Dialog");
        return QString();
    }
    bool isEmpty() const override { return false; }
};

QWidget* clickedControl(const QSignalSpy& spy, int i)
{
    return qvariant_cast<QWidget*>(spy.at(i).at(0));
}

void pressOn(QWidget* w, Qt::MouseButton button)
{
    QTest::mousePress(w, button, Qt::NoModifier, QPoint(w->width() / 2, w->height() / 2));
    QTest::mouseRelease(w, button, Qt::NoModifier, QPoint(w->width() / 2, w->height() / 2));
}

// Drives n ticks of the spinner without waiting for its timer.
void tick(NetWeakLoading& w, int n)
{
    for (int i = 0; i < n; ++i)
        w.onTick();
}

const char* const kHideLog = "[APP]NetWeakLoading::hideEvent";

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // compiled-in images
    void resourceLoads_data();
    void resourceLoads();
    void pageControlImagesFromImageDir_data();
    void pageControlImagesFromImageDir();
    void spinnerImage();

    // QMyWidget
    void myWidgetPaintsStyleSheetBackground();

    // QMyPageCtrl
    void pageCtrlSvgDrawnAtDoubleSize_data();
    void pageCtrlSvgDrawnAtDoubleSize();
    void pageCtrlPngLoadedAsIs_data();
    void pageCtrlPngLoadedAsIs();
    void pageCtrlPngSuffixIsCaseSensitive();
    void pageCtrlPaintsItsImage();
    void pageCtrlLeftPressReportsThroughConfig();
    void pageCtrlOtherButtonsIgnored();
    void pageCtrlMissingImageKeepsDefaultSize();
    void pageCtrlMissingSvgKeepsDefaultSize();

    // NetWeakLoading
    void spinnerConstruction();
    void spinnerRealTimerTicks();
    void spinnerTimesOutAfter250Ticks();
    void spinnerAngleSequenceKeepsHitch();
    void spinnerHideRestartsBudget();
    void spinnerHideDoesNotStopTimer();
    void spinnerStartAndStopLoading();
    void spinnerPaintsRotated();

    // QDlgPopupScreen
    void popupForm();
    void popupTitleTranslated();
    void popupSkin_data();
    void popupSkin();
    void popupSkinReadOnce();
    void popupResizeStretchesBackgroundOnly();
    void popupMousePressGoesToBase();

private:
    bool m_bSkinAtStart = false;
};

void TestWidgets::initTestCase()
{
    initModuleResources();
    QLoggingCategory::setFilterRules(QStringLiteral("kxscreen.debug=true"));
    g_prevFilter = QLoggingCategory::installFilter(enableModuleLog);
    QVERIFY(lcKXScreen().isDebugEnabled());
    m_bSkinAtStart = QKXScreenConfig::getInstance()->isNewSkin();
}

void TestWidgets::cleanup()
{
    QKXScreenConfig::getInstance()->setNewSkin(m_bSkinAtStart);
}

// ---------------------------------------------------------------------------
// compiled-in images

void TestWidgets::resourceLoads_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");

    const QSize round(36, 36);
    const QSize tab(20, 64);
    const QSize icon(24, 24);
    // page controls: read from the image directory, the vector copies kept beside the icons
    for (const char* dir : {":/pic/", ":/svg/"}) {
        const QString d = QLatin1String(dir);
        QTest::newRow(qPrintable(d + "pageNext.svg")) << d + "pageNext.svg" << round;
        QTest::newRow(qPrintable(d + "pagePre.svg")) << d + "pagePre.svg" << round;
        QTest::newRow(qPrintable(d + "pageDown.svg")) << d + "pageDown.svg" << round;
        QTest::newRow(qPrintable(d + "pageUp.svg")) << d + "pageUp.svg" << round;
        QTest::newRow(qPrintable(d + "leftShow-2x_new.svg")) << d + "leftShow-2x_new.svg" << tab;
        QTest::newRow(qPrintable(d + "rightHide-2x_new.svg")) << d + "rightHide-2x_new.svg" << tab;
    }
    QTest::newRow(":/pic/leftShow-2x.png") << QStringLiteral(":/pic/leftShow-2x.png") << tab;
    QTest::newRow(":/pic/rightHide-2x.png") << QStringLiteral(":/pic/rightHide-2x.png") << tab;
    QTest::newRow(":/pic/NetLevel_Loading2.png")
        << QStringLiteral(":/pic/NetLevel_Loading2.png") << QSize(40, 40);

    const QStringList overlay = {"mic_on", "mic_off", "mic_none", "net_level_1", "net_level_2",
                                 "net_level_3", "net_level_4", "net_level_5", "net_level_6",
                                 "more", "recall", "share", "all_look", "lock_look"};
    for (const QString& name : overlay) {
        const QString path = QStringLiteral(":/svg/") + name + QStringLiteral(".svg");
        QTest::newRow(qPrintable(path)) << path << icon;
    }
}

void TestWidgets::resourceLoads()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    QVERIFY2(QFile::exists(path), qPrintable(path));
    if (path.endsWith(QLatin1String(".svg"))) {
        QSvgRenderer renderer(path);
        QVERIFY2(renderer.isValid(), qPrintable(path));
        QCOMPARE(renderer.defaultSize(), size);
    }
    // Raster images and SVGs alike must open as images: the page controls load
    // their path with QPixmap whatever the format.
    QImage img(path);
    QVERIFY2(!img.isNull(), qPrintable(path));
    QCOMPARE(img.size(), size);
    // something is drawn, and the corners stay see-through for the round buttons
    bool anyOpaque = false;
    for (int y = 0; y < img.height() && !anyOpaque; ++y)
        for (int x = 0; x < img.width() && !anyOpaque; ++x)
            anyOpaque = qAlpha(img.pixel(x, y)) > 128;
    QVERIFY2(anyOpaque, qPrintable(path));
}

void TestWidgets::pageControlImagesFromImageDir_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("size");
    QTest::newRow("pageNext") << "pageNext.svg" << QSize(36, 36);
    QTest::newRow("pagePre") << "pagePre.svg" << QSize(36, 36);
    QTest::newRow("pageDown") << "pageDown.svg" << QSize(36, 36);
    QTest::newRow("pageUp") << "pageUp.svg" << QSize(36, 36);
    QTest::newRow("leftShow new") << "leftShow-2x_new.svg" << QSize(20, 64);
    QTest::newRow("rightHide new") << "rightHide-2x_new.svg" << QSize(20, 64);
    QTest::newRow("leftShow png") << "leftShow-2x.png" << QSize(20, 64);
    QTest::newRow("rightHide png") << "rightHide-2x.png" << QSize(20, 64);
}

void TestWidgets::pageControlImagesFromImageDir()
{
    QFETCH(QString, name);
    QFETCH(QSize, size);
    const QString path = QKXScreenConfig::getInstance()->m_qstrImgDir + name;
    QCOMPARE(QKXScreenConfig::getInstance()->m_qstrImgDir, QStringLiteral(":/pic/"));

    QWidget parent;
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("qstrImg: ") + path));
    QMyPageCtrl ctrl(path, &parent);
    QCOMPARE(ctrl.size(), size);
    QVERIFY(!ctrl.drawImage().isNull());
}

void TestWidgets::spinnerImage()
{
    const QImage img(QStringLiteral(":/pic/NetLevel_Loading2.png"));
    QCOMPARE(img.size(), QSize(40, 40));
    QVERIFY(img.hasAlphaChannel());
    // An arc, not a disc: the centre and the corners are clear, the ring is drawn.
    QCOMPARE(qAlpha(img.pixel(20, 20)), 0);
    QCOMPARE(qAlpha(img.pixel(0, 0)), 0);
    QVERIFY(qAlpha(img.pixel(20, 5)) > 200);      // the bright head at the top
    // The spinner is not rotationally uniform, otherwise spinning it shows nothing.
    const QTransform quarter = QTransform().translate(20, 20).rotate(90).translate(-20, -20);
    QVERIFY(img.transformed(quarter) != img);
}

// ---------------------------------------------------------------------------
// QMyWidget

void TestWidgets::myWidgetPaintsStyleSheetBackground()
{
    QMyWidget w;
    w.setStyleSheet(QStringLiteral("QMyWidget{background-color:#123456;}"));
    w.resize(20, 20);
    const QImage img = w.grab().toImage();
    QCOMPARE(QColor(img.pixel(10, 10)), QColor(QStringLiteral("#123456")));

    // A subclass without the primitive does not paint the style sheet background.
    class Plain : public QWidget
    {
    public:
        using QWidget::QWidget;
    };
    QWidget host;
    host.setStyleSheet(QStringLiteral("QWidget{background-color:#654321;}"));
    host.resize(40, 20);
    QMyWidget* mine = new QMyWidget(&host);
    mine->setStyleSheet(QStringLiteral("background-color:#123456;"));
    mine->setGeometry(0, 0, 20, 20);
    const QImage both = host.grab().toImage();
    QCOMPARE(QColor(both.pixel(10, 10)), QColor(QStringLiteral("#123456")));
    QCOMPARE(QColor(both.pixel(30, 10)), QColor(QStringLiteral("#654321")));
}

// ---------------------------------------------------------------------------
// QMyPageCtrl

void TestWidgets::pageCtrlSvgDrawnAtDoubleSize_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    QTest::newRow("pageNext") << ":/pic/pageNext.svg" << QSize(36, 36);
    QTest::newRow("pagePre") << ":/pic/pagePre.svg" << QSize(36, 36);
    QTest::newRow("pageDown") << ":/pic/pageDown.svg" << QSize(36, 36);
    QTest::newRow("pageUp") << ":/pic/pageUp.svg" << QSize(36, 36);
    QTest::newRow("leftShow") << ":/pic/leftShow-2x_new.svg" << QSize(20, 64);
    QTest::newRow("rightHide") << ":/pic/rightHide-2x_new.svg" << QSize(20, 64);
}

void TestWidgets::pageCtrlSvgDrawnAtDoubleSize()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    QWidget parent;
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("qstrImg: ") + path));
    QMyPageCtrl ctrl(path, &parent);

    QVERIFY(ctrl.isHidden());
    QCOMPARE(ctrl.image().size(), size);
    QCOMPARE(ctrl.size(), size);
    QCOMPARE(ctrl.drawImage().size(), size * 2);

    // The double-size image is the SVG itself, not the loaded image scaled up:
    // it matches a fresh rendering of the file at twice the size.
    QImage expected(size * 2, QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::transparent);
    {
        QSvgRenderer renderer(path);
        QPainter p(&expected);
        renderer.render(&p);
    }
    QCOMPARE(ctrl.drawImage().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
             expected);
}

void TestWidgets::pageCtrlPngLoadedAsIs_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("leftShow") << ":/pic/leftShow-2x.png";
    QTest::newRow("rightHide") << ":/pic/rightHide-2x.png";
}

void TestWidgets::pageCtrlPngLoadedAsIs()
{
    QFETCH(QString, path);
    QWidget parent;
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("qstrImg: ") + path));
    QMyPageCtrl ctrl(path, &parent);

    QVERIFY(ctrl.isHidden());
    const QImage file(path);
    QCOMPARE(ctrl.size(), file.size());
    QCOMPARE(ctrl.image().size(), file.size());
    QCOMPARE(ctrl.drawImage().size(), file.size());
    QCOMPARE(ctrl.drawImage().toImage().convertToFormat(QImage::Format_ARGB32),
             file.convertToFormat(QImage::Format_ARGB32));
}

void TestWidgets::pageCtrlPngSuffixIsCaseSensitive()
{
    // Only a lower-case ".png" takes the raster path; anything else goes through
    // the vector renderer, which cannot read a PNG and leaves an empty canvas of
    // twice the size.
    const QString upper = QDir(QDir::tempPath()).filePath(QStringLiteral("kx_tst_widgets_tab.PNG"));
    QFile::remove(upper);
    QVERIFY(QFile::copy(QStringLiteral(":/pic/leftShow-2x.png"), upper));

    QWidget parent;
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("qstrImg: ") + upper));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("kx_tst_widgets_tab\\.PNG")));
    QMyPageCtrl ctrl(upper, &parent);
    QCOMPARE(ctrl.size(), QSize(20, 64));
    QCOMPARE(ctrl.drawImage().size(), QSize(40, 128));
    const QImage drawn = ctrl.drawImage().toImage();
    bool allClear = true;
    for (int y = 0; y < drawn.height() && allClear; ++y)
        for (int x = 0; x < drawn.width() && allClear; ++x)
            allClear = qAlpha(drawn.pixel(x, y)) == 0;
    QVERIFY(allClear);
    QFile::remove(upper);
}

void TestWidgets::pageCtrlPaintsItsImage()
{
    QWidget parent;
    parent.setStyleSheet(QStringLiteral("QWidget{background-color:#FF0000;}"));
    parent.resize(100, 100);
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/pageNext.svg");
    QMyPageCtrl* ctrl = new QMyPageCtrl(QStringLiteral(":/pic/pageNext.svg"), &parent);
    ctrl->move(10, 10);
    ctrl->show();

    const QImage img = parent.grab().toImage();
    // outside the round button: the parent's red
    QCOMPARE(QColor(img.pixel(10, 10)), QColor(Qt::red));
    // on the chevron's upper stroke: white
    const QColor chevron(img.pixel(10 + 18, 10 + 14));
    QVERIFY2(chevron.red() > 220 && chevron.green() > 220 && chevron.blue() > 220,
             qPrintable(chevron.name()));
    // on the button's plate, left of the chevron: the dark translucent plate over red
    const QColor plate(img.pixel(10 + 7, 10 + 18));
    QVERIFY2(plate.red() < 160 && plate.green() < 40, qPrintable(plate.name()));
}

void TestWidgets::pageCtrlLeftPressReportsThroughConfig()
{
    QWidget parent;
    parent.resize(200, 100);
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/pagePre.svg");
    QMyPageCtrl* pre = new QMyPageCtrl(QStringLiteral(":/pic/pagePre.svg"), &parent);
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/pageNext.svg");
    QMyPageCtrl* next = new QMyPageCtrl(QStringLiteral(":/pic/pageNext.svg"), &parent);
    next->move(100, 0);
    parent.show();
    // parent.show() does not show the controls: they hid themselves explicitly
    QVERIFY(!pre->isVisible());
    pre->show();
    next->show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));

    QSignalSpy spy(QKXScreenConfig::getInstance(), &QKXScreenConfig::clickPageCtl);
    QVERIFY(spy.isValid());

    pressOn(next, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(clickedControl(spy, 0), static_cast<QWidget*>(next));

    pressOn(pre, Qt::LeftButton);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(clickedControl(spy, 1), static_cast<QWidget*>(pre));
}

void TestWidgets::pageCtrlOtherButtonsIgnored()
{
    QWidget parent;
    parent.resize(100, 100);
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/pageUp.svg");
    QMyPageCtrl* ctrl = new QMyPageCtrl(QStringLiteral(":/pic/pageUp.svg"), &parent);
    parent.show();
    ctrl->show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));

    QSignalSpy spy(QKXScreenConfig::getInstance(), &QKXScreenConfig::clickPageCtl);
    pressOn(ctrl, Qt::RightButton);
    pressOn(ctrl, Qt::MiddleButton);
    QTest::mouseDClick(ctrl, Qt::RightButton);
    QCOMPARE(spy.count(), 0);

    // the same control does report a left press
    pressOn(ctrl, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
}

void TestWidgets::pageCtrlMissingImageKeepsDefaultSize()
{
    QWidget parent;
    const QMyWidget reference(&parent);
    const QString path = QStringLiteral(":/pic/noSuchControl.png");
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/noSuchControl.png");
    QMyPageCtrl ctrl(path, &parent);
    QVERIFY(ctrl.image().isNull());
    QVERIFY(ctrl.drawImage().isNull());
    QCOMPARE(ctrl.size(), reference.size());
    QVERIFY(ctrl.isHidden());
}

void TestWidgets::pageCtrlMissingSvgKeepsDefaultSize()
{
    QWidget parent;
    const QMyWidget reference(&parent);
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/svg/noSuchControl.svg");
    // the shared renderer is still asked to load the path, and says it cannot
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("noSuchControl\\.svg")));
    QMyPageCtrl ctrl(QStringLiteral(":/svg/noSuchControl.svg"), &parent);
    QVERIFY(ctrl.image().isNull());
    QVERIFY(ctrl.drawImage().isNull());
    QCOMPARE(ctrl.size(), reference.size());

    // a later control still gets a working renderer
    QTest::ignoreMessage(QtDebugMsg, "qstrImg: :/pic/pageDown.svg");
    QMyPageCtrl good(QStringLiteral(":/pic/pageDown.svg"), &parent);
    QCOMPARE(good.drawImage().size(), QSize(72, 72));
}

// ---------------------------------------------------------------------------
// NetWeakLoading

void TestWidgets::spinnerConstruction()
{
    QWidget parent;
    NetWeakLoading w(&parent);
    QCOMPARE(w.geometry(), QRect(0, 0, 40, 40));
    QVERIFY(w.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(w.testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(w.elapsed(), 0);
    QCOMPARE(w.angle(), 0);
    QVERIFY(!w.isLoading());
    QTimer* timer = w.findChild<QTimer*>();
    QVERIFY(timer);
    QVERIFY(!timer->isActive());
    QVERIFY(QMetaMethod::fromSignal(&NetWeakLoading::sigTimerOutLoading).isValid());
}

void TestWidgets::spinnerRealTimerTicks()
{
    NetWeakLoading w(nullptr);
    w.show();
    w.startLoading();
    QTimer* timer = w.findChild<QTimer*>();
    QVERIFY(timer);
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 60);
    // the timer drives the same tick as onTick(): time and angle advance together
    QTRY_VERIFY(w.elapsed() >= 180);
    const int e = w.elapsed();
    QVERIFY(e % 60 == 0);
    w.stopLoading();
    QVERIFY(!w.isLoading());
    QCOMPARE(w.elapsed(), 0);
    QVERIFY(w.angle() > 0);
    QTest::ignoreMessage(QtDebugMsg, kHideLog);
    w.hide();
}

void TestWidgets::spinnerTimesOutAfter250Ticks()
{
    NetWeakLoading w(nullptr);
    QSignalSpy spy(&w, &NetWeakLoading::sigTimerOutLoading);
    QVERIFY(spy.isValid());
    w.show();
    w.startLoading();

    for (int i = 1; i < 250; ++i) {
        w.onTick();
        if (spy.count() != 0 || !w.isVisible() || w.elapsed() != i * 60)
            QFAIL(qPrintable(QStringLiteral("spinner gave up early, at tick %1").arg(i)));
    }
    QCOMPARE(w.elapsed(), 14940);

    QTest::ignoreMessage(QtDebugMsg, kHideLog);
    w.onTick();   // 15000 ms
    QCOMPARE(spy.count(), 1);
    QVERIFY(w.isHidden());
    QVERIFY(!w.isLoading());
    QCOMPARE(w.elapsed(), 0);
}

void TestWidgets::spinnerAngleSequenceKeepsHitch()
{
    NetWeakLoading w(nullptr);
    QList<int> seen{w.angle()};
    for (int i = 0; i < 27; ++i) {
        w.onTick();
        seen << w.angle();
    }
    QList<int> expected;
    for (int a = 0; a <= 360; a += 15)
        expected << a;           // 0, 15, ..., 345, 360
    expected << 0 << 15 << 30;   // then 0: upright twice in a row
    QCOMPARE(seen, expected);
}

void TestWidgets::spinnerHideRestartsBudget()
{
    NetWeakLoading w(nullptr);
    QSignalSpy spy(&w, &NetWeakLoading::sigTimerOutLoading);
    w.show();
    w.startLoading();
    tick(w, 166);   // about 10 s
    QCOMPARE(w.elapsed(), 9960);

    QTest::ignoreMessage(QtDebugMsg, kHideLog);
    w.hide();
    QCOMPARE(w.elapsed(), 0);

    w.show();
    w.startLoading();
    QCOMPARE(w.elapsed(), 0);
    tick(w, 249);
    QCOMPARE(spy.count(), 0);
    QVERIFY(w.isVisible());
    QTest::ignoreMessage(QtDebugMsg, kHideLog);
    w.onTick();
    QCOMPARE(spy.count(), 1);
    QVERIFY(w.isHidden());
}

void TestWidgets::spinnerHideDoesNotStopTimer()
{
    NetWeakLoading w(nullptr);
    QSignalSpy spy(&w, &NetWeakLoading::sigTimerOutLoading);
    w.show();
    w.startLoading();
    tick(w, 100);

    QTest::ignoreMessage(QtDebugMsg, kHideLog);
    w.hide();
    QVERIFY(w.isLoading());
    QCOMPARE(w.elapsed(), 0);

    // Hidden, it goes on ticking and reports once more 15 s after the hide;
    // hiding an already hidden widget logs nothing further.
    tick(w, 249);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(w.elapsed(), 14940);
    w.onTick();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!w.isLoading());
    QCOMPARE(w.elapsed(), 0);
}

void TestWidgets::spinnerStartAndStopLoading()
{
    NetWeakLoading w(nullptr);
    tick(w, 10);
    QCOMPARE(w.elapsed(), 600);

    w.startLoading();
    QVERIFY(w.isLoading());
    QCOMPARE(w.elapsed(), 600);   // starting does not reset the budget
    w.startLoading();             // restarting is harmless
    QVERIFY(w.isLoading());
    QCOMPARE(w.elapsed(), 600);

    w.stopLoading();
    QVERIFY(!w.isLoading());
    QCOMPARE(w.elapsed(), 0);
    QCOMPARE(w.angle(), 150);     // the angle is not reset by stopping
}

void TestWidgets::spinnerPaintsRotated()
{
    NetWeakLoading w(nullptr);
    const QImage upright = w.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(upright.size(), QSize(40, 40));
    // the head of the arc at the top is drawn, the centre stays clear
    QVERIFY(qAlpha(upright.pixel(20, 5)) > 150);
    QCOMPARE(qAlpha(upright.pixel(20, 20)), 0);

    tick(w, 6);   // 90 degrees clockwise: the head moves to the right
    QCOMPARE(w.angle(), 90);
    const QImage quarter = w.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    QVERIFY(quarter != upright);
    QVERIFY(qAlpha(quarter.pixel(34, 20)) > 150);
}

// ---------------------------------------------------------------------------
// QDlgPopupScreen

void TestWidgets::popupForm()
{
    QDlgPopupScreen dlg(nullptr);
    QCOMPARE(dlg.objectName(), QStringLiteral("QDlgPopupScreen"));
    QVERIFY(dlg.isHidden());
    QVERIFY(!dlg.isModal());
    QVERIFY(!dlg.isSizeGripEnabled());
    QVERIFY(dlg.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(dlg.windowType() != Qt::Dialog);
    QCOMPARE(dlg.size(), QSize(240, 654));

    QFrame* frameBak = dlg.findChild<QFrame*>(QStringLiteral("frameBak"));
    QWidget* title = dlg.findChild<QWidget*>(QStringLiteral("title"));
    QFrame* frameScreen = dlg.findChild<QFrame*>(QStringLiteral("frameScreen"));
    QVERIFY(frameBak && title && frameScreen);
    QCOMPARE(title->metaObject(), &QWidget::staticMetaObject);

    QCOMPARE(frameBak->parentWidget(), static_cast<QWidget*>(&dlg));
    QCOMPARE(title->parentWidget(), static_cast<QWidget*>(frameBak));
    QCOMPARE(frameScreen->parentWidget(), static_cast<QWidget*>(frameBak));
    // creation order
    const QObjectList kids = frameBak->children();
    QCOMPARE(kids.indexOf(title) < kids.indexOf(frameScreen), true);

    QCOMPARE(frameBak->geometry(), QRect(0, 0, 240, 651));
    QCOMPARE(title->geometry(), QRect(0, 0, 240, 44));
    QCOMPARE(frameScreen->geometry(), QRect(1, 40, 238, 571));
    QCOMPARE(frameBak->frameShape(), QFrame::StyledPanel);
    QCOMPARE(frameBak->frameShadow(), QFrame::Raised);
    QCOMPARE(frameScreen->frameShape(), QFrame::StyledPanel);
    QCOMPARE(frameScreen->frameShadow(), QFrame::Raised);

    QCOMPARE(dlg.getScreenFrame(), frameScreen);

    // without a translation the source text is the title
    QCOMPARE(dlg.windowTitle(), QStringLiteral("dialog"));
}

void TestWidgets::popupTitleTranslated()
{
    PopupTitleTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    {
        QDlgPopupScreen dlg(nullptr);
        QCOMPARE(dlg.windowTitle(), QStringLiteral("Dialog"));
    }
    QCoreApplication::removeTranslator(&translator);
}

void TestWidgets::popupSkin_data()
{
    QTest::addColumn<bool>("newSkin");
    QTest::addColumn<QString>("colour");
    QTest::newRow("light") << true << "#FFFFFF";
    QTest::newRow("dark") << false << "#2A2E36";
}

void TestWidgets::popupSkin()
{
    QFETCH(bool, newSkin);
    QFETCH(QString, colour);
    QKXScreenConfig::getInstance()->setNewSkin(newSkin);

    QDlgPopupScreen dlg(nullptr);
    QFrame* frameBak = dlg.findChild<QFrame*>(QStringLiteral("frameBak"));
    QWidget* title = dlg.findChild<QWidget*>(QStringLiteral("title"));
    QFrame* frameScreen = dlg.findChild<QFrame*>(QStringLiteral("frameScreen"));
    QVERIFY(frameBak && title && frameScreen);

    QCOMPARE(frameBak->styleSheet(), "QFrame#frameBak{background-color:" + colour + ";}");
    QCOMPARE(frameScreen->styleSheet(), "QFrame#frameScreen{background-color:" + colour + ";}");
    QCOMPARE(title->styleSheet(), "QWidget#title{background-color:" + colour + ";}");
    QVERIFY(!title->styleSheet().contains(QLatin1String("rgb(0, 0, 0)")));

    const QImage img = dlg.grab().toImage();
    const QColor want(colour);
    const QColor titlePx(img.pixel(120, 20));
    QCOMPARE(titlePx, want);
    QVERIFY(titlePx != QColor(Qt::black));
    QCOMPARE(QColor(img.pixel(120, 300)), want);   // screen frame
    QCOMPARE(QColor(img.pixel(120, 630)), want);   // background frame below the screen
}

void TestWidgets::popupSkinReadOnce()
{
    QKXScreenConfig::getInstance()->setNewSkin(false);
    QDlgPopupScreen dlg(nullptr);
    QKXScreenConfig::getInstance()->setNewSkin(true);
    QWidget* title = dlg.findChild<QWidget*>(QStringLiteral("title"));
    QVERIFY(title);
    QCOMPARE(title->styleSheet(), QStringLiteral("QWidget#title{background-color:#2A2E36;}"));
    QCOMPARE(QColor(dlg.grab().toImage().pixel(120, 20)), QColor(QStringLiteral("#2A2E36")));
}

void TestWidgets::popupResizeStretchesBackgroundOnly()
{
    QDlgPopupScreen dlg(nullptr);
    QFrame* frameBak = dlg.findChild<QFrame*>(QStringLiteral("frameBak"));
    QWidget* title = dlg.findChild<QWidget*>(QStringLiteral("title"));
    QFrame* frameScreen = dlg.findChild<QFrame*>(QStringLiteral("frameScreen"));
    QVERIFY(frameBak && title && frameScreen);

    dlg.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dlg));
    // on show the pending resize already fits the background to the dialog
    QTRY_COMPARE(frameBak->geometry(), QRect(0, 0, 240, 654));

    dlg.resize(300, 700);
    QTRY_COMPARE(dlg.size(), QSize(300, 700));
    QTRY_COMPARE(frameBak->geometry(), QRect(0, 0, 300, 700));
    QCOMPARE(title->geometry(), QRect(0, 0, 240, 44));
    QCOMPARE(frameScreen->geometry(), QRect(1, 40, 238, 571));
}

void TestWidgets::popupMousePressGoesToBase()
{
    QDlgPopupScreen dlg(nullptr);
    // QWidget's handler ignores a press on a non-popup window; an override that
    // swallowed the event would leave it accepted.
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    press.setAccepted(true);
    QCoreApplication::sendEvent(&dlg, &press);
    QVERIFY(!press.isAccepted());
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
