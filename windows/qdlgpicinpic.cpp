#include "qdlgpicinpic.h"

#include "cplaywidget.h"
#include "kxtranslate.h"
#include "layoutgeometry.h"
#include "overlaybutton.h"
#include "qkxscreenconfig.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QWindow>

namespace {
constexpr int kMaxTiles = 4;
constexpr int kMargin = 16; // from the gallery's corner
} // namespace

QDlgPicInPic::QDlgPicInPic(QWidget* parent)
    : QDialog(parent)
    , m_iOneWidth(kxlayout::kPicInPicWidth)
{
    setObjectName(QStringLiteral("QDlgPicInPic"));
    // A tool window of the meeting window: above it, without a frame or a
    // task-bar entry of its own.
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::WindowStaysOnTopHint);
    setStyleSheet(QStringLiteral("QDlgPicInPic{background-color:%1;}")
                      .arg(QKXScreenConfig::getInstance()->getScreenColor()));
    for (int i = 0; i < kMaxTiles; ++i) {
        auto* tile = new CPlayWidget(this);
        connect(tile, &CPlayWidget::mouseLClick, this, [this](CPlayWidget* t) {
            if (tagPersonInfo* p = t->personInfo())
                emit notifyClickPicInPicPlayWidget(p);
        });
        m_tiles.append(tile);
    }
    auto button = [this](const QString& icon) {
        auto* b = new OverlayButton(this);
        b->setIconName(icon);
        b->setIconPx(18);
        b->setFill(QColor(0, 0, 0, 90));
        return b;
    };
    m_pToggle = button(QStringLiteral("pip_several"));
    m_pPrev = button(QStringLiteral("pagePre"));
    m_pNext = button(QStringLiteral("pageNext"));
    m_pClose = button(QStringLiteral("close"));
    m_pClose->setObjectName(QStringLiteral("pipClose"));
    m_pGrip = button(QStringLiteral("pip_resize"));
    m_pGrip->setObjectName(QStringLiteral("pipResize"));
    m_pGrip->setIconPx(14);
    m_pGrip->setCursor(Qt::SizeFDiagCursor);
    m_pGrip->installEventFilter(this);
    retranslate();
    connect(m_pToggle, &QAbstractButton::clicked, this, [this]() {
        if (m_bSeveral)
            emit notifyPicInPicOne();
        else
            emit notifyPicInPicMutil(true);
    });
    connect(m_pPrev, &QAbstractButton::clicked, this, [this]() { emit notifyPicInPicChangePage(false); });
    connect(m_pNext, &QAbstractButton::clicked, this, [this]() { emit notifyPicInPicChangePage(true); });
    // Hidden as a host hides it through its pointer: the gallery hears the
    // hide, keeps it hidden until the layout changes and stops its video.
    connect(m_pClose, &QAbstractButton::clicked, this, &QWidget::hide);
    relayout();
    hide();
}

QDlgPicInPic::~QDlgPicInPic() = default;

void QDlgPicInPic::setParticipants(const QVector<tagPersonInfo*>& others, tagPersonInfo* one)
{
    m_others = others;
    m_pOne = others.contains(one) ? one : others.value(0);
    relayout();
}

QVector<tagPersonInfo*> QDlgPicInPic::shownPersons() const
{
    QVector<tagPersonInfo*> out;
    for (CPlayWidget* t : m_tiles) {
        if (t->isVisibleTo(this) && t->personInfo())
            out.append(t->personInfo());
    }
    return out;
}

void QDlgPicInPic::dropPerson(tagPersonInfo* person)
{
    m_others.removeAll(person);
    if (m_pOne == person)
        m_pOne = m_others.value(0);
    for (CPlayWidget* t : m_tiles) {
        if (t->personInfo() == person) {
            t->setPersonData(nullptr, false);
            t->hide();
        }
    }
    relayout();
}

void QDlgPicInPic::clear()
{
    // Every relayout outside the stage layouts lets the window go: most of
    // the time there is nothing to let go.
    bool bBound = false;
    for (CPlayWidget* t : qAsConst(m_tiles))
        bBound = bBound || t->personInfo();
    if (!bBound && m_others.isEmpty())
        return;
    m_others.clear();
    m_pOne = nullptr;
    for (CPlayWidget* t : m_tiles) {
        t->setPersonData(nullptr, false);
        t->hide();
    }
}

bool QDlgPicInPic::isTile(const CPlayWidget* tile) const
{
    return tile && m_tiles.contains(const_cast<CPlayWidget*>(tile));
}

void QDlgPicInPic::setSeveral(bool bSeveral)
{
    m_bSeveral = bSeveral;
    m_pToggle->setIconName(bSeveral ? QStringLiteral("pip_one") : QStringLiteral("pip_several"));
    retranslate();
    relayout();
}

void QDlgPicInPic::retranslate()
{
    auto name = [](OverlayButton* b, const QString& text) {
        b->setToolTip(text);
        b->setAccessibleName(text);
    };
    name(m_pToggle, m_bSeveral ? kxTranslate("QDlgPicInPic", "Show one") : kxTranslate("QDlgPicInPic", "Show several"));
    name(m_pPrev, kxTranslate("QDlgPicInPic", "Previous"));
    name(m_pNext, kxTranslate("QDlgPicInPic", "Next"));
    name(m_pClose, kxTranslate("QDlgPicInPic", "Close"));
    name(m_pGrip, kxTranslate("QDlgPicInPic", "Resize"));
}

void QDlgPicInPic::changeEvent(QEvent* e)
{
    QDialog::changeEvent(e);
    if (e->type() == QEvent::LanguageChange)
        retranslate();
}

int QDlgPicInPic::pageCount() const
{
    return kxlayout::picInPicGeometry(m_bSeveral, m_others.size(), m_iPage, m_iOneWidth).pages;
}

void QDlgPicInPic::setPageIndex(int page)
{
    m_iPage = page;
    relayout();
}

void QDlgPicInPic::relayout()
{
    QScreen* s = screen();
    const kxlayout::PicInPicGeometry geo = kxlayout::picInPicGeometry(
        m_bSeveral, m_others.size(), m_iPage, m_iOneWidth, s ? s->availableGeometry().width() : 0);
    m_iPage = geo.pageIdx; // people may have left since the page was chosen
    m_iOneWidth = geo.oneWidth;
    const QVector<tagPersonInfo*> shown =
        m_bSeveral ? m_others.mid(m_iPage * kMaxTiles, kMaxTiles)
                   : (m_pOne ? QVector<tagPersonInfo*>{m_pOne} : QVector<tagPersonInfo*>());
    for (int i = 0; i < m_tiles.size(); ++i) {
        CPlayWidget* t = m_tiles.at(i);
        tagPersonInfo* p = shown.value(i);
        if (t->personInfo() != p)
            t->setPersonData(p, false);
        if (p && i < geo.tiles.size()) {
            t->setGeometry(geo.tiles.at(i));
            t->showTile();
        } else {
            t->hide();
        }
    }
    const QPoint keep = pos();
    setFixedSize(geo.window);
    if (isVisible())
        move(keep); // grows and shrinks from its top-left corner
    m_pToggle->setGeometry(geo.toggle);
    m_pToggle->setVisible(!m_others.isEmpty());
    m_pPrev->setGeometry(geo.prev);
    m_pNext->setGeometry(geo.next);
    m_pPrev->setVisible(m_bSeveral && m_iPage > 0);
    m_pNext->setVisible(m_bSeveral && m_iPage + 1 < geo.pages);
    m_pClose->setGeometry(geo.close);
    m_pGrip->setGeometry(geo.grip);
    m_pGrip->setVisible(!m_others.isEmpty());
    for (OverlayButton* b : {m_pToggle, m_pPrev, m_pNext, m_pClose, m_pGrip})
        b->raise();
}

void QDlgPicInPic::resizeTo(const QPoint& corner)
{
    // The tiles keep 16:9: the width decides, and the window grows and
    // shrinks from its top-left corner, which stays where it is.
    const int width = qMax(1, corner.x());
    m_iOneWidth = m_bSeveral ? width * 4 / 3 : width;
    relayout();
}

bool QDlgPicInPic::eventFilter(QObject* watched, QEvent* e)
{
    // The grip: a drag resizes (in the window's own coordinates, which every
    // platform knows), a press and release are no click.
    if (watched == m_pGrip) {
        // Cast only once the type says it is a mouse event.
        auto mouse = [e]() { return static_cast<QMouseEvent*>(e); };
        switch (e->type()) {
        case QEvent::MouseButtonPress:
            if (mouse()->button() == Qt::LeftButton)
                m_ptGrip = QPoint(width(), height()) - m_pGrip->mapTo(this, mouse()->pos());
            return true;
        case QEvent::MouseMove:
            if (mouse()->buttons() & Qt::LeftButton)
                resizeTo(m_pGrip->mapTo(this, mouse()->pos()) + m_ptGrip);
            return true;
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
            return true;
        default:
            break;
        }
    }
    return QDialog::eventFilter(watched, e);
}

void QDlgPicInPic::moveEvent(QMoveEvent* e)
{
    if (m_bSystemMove)
        m_bMoved = true;
    QDialog::moveEvent(e);
}

void QDlgPicInPic::placeBeside(const QRect& galleryGlobal)
{
    if (m_bMoved)
        return;
    move(galleryGlobal.right() - width() - kMargin + 1, galleryGlobal.top() + kMargin);
}

void QDlgPicInPic::mousePressEvent(QMouseEvent* e)
{
    // The window has no frame: it is dragged by its own background (the bar
    // and the gaps between tiles). Where the window system moves windows (a
    // Wayland compositor, an X11 window manager) the drag is handed to it; it
    // knows the screens and where the window is. Elsewhere it moves here.
    if (e->button() == Qt::LeftButton) {
        m_bSystemMove = windowHandle() && windowHandle()->startSystemMove();
        m_bDragging = !m_bSystemMove;
        m_ptDrag = e->globalPos() - frameGeometry().topLeft();
    }
    QDialog::mousePressEvent(e);
}

void QDlgPicInPic::mouseMoveEvent(QMouseEvent* e)
{
    if (m_bDragging && (e->buttons() & Qt::LeftButton)) {
        // Onto any screen, kept within what they show.
        QVector<QRect> areas;
        for (QScreen* s : QGuiApplication::screens())
            areas.append(s->availableGeometry());
        move(kxlayout::keepOnScreens(QRect(e->globalPos() - m_ptDrag, size()), areas));
        m_bMoved = true;
    }
    QDialog::mouseMoveEvent(e);
}

void QDlgPicInPic::mouseReleaseEvent(QMouseEvent* e)
{
    m_bDragging = false;
    QDialog::mouseReleaseEvent(e);
}
