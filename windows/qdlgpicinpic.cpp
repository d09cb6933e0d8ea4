#include "qdlgpicinpic.h"

#include "cplaywidget.h"
#include "kxtranslate.h"
#include "layoutgeometry.h"
#include "overlaybutton.h"
#include "qkxscreenconfig.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

namespace {
constexpr int kMaxTiles = 4;
constexpr int kMargin = 16; // from the gallery's corner
} // namespace

QDlgPicInPic::QDlgPicInPic(QWidget* parent)
    : QDialog(parent)
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
    retranslate();
    connect(m_pToggle, &QAbstractButton::clicked, this, [this]() {
        if (m_bSeveral)
            emit notifyPicInPicOne();
        else
            emit notifyPicInPicMutil(true);
    });
    connect(m_pPrev, &QAbstractButton::clicked, this, [this]() { emit notifyPicInPicChangePage(false); });
    connect(m_pNext, &QAbstractButton::clicked, this, [this]() { emit notifyPicInPicChangePage(true); });
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
}

void QDlgPicInPic::changeEvent(QEvent* e)
{
    QDialog::changeEvent(e);
    if (e->type() == QEvent::LanguageChange)
        retranslate();
}

int QDlgPicInPic::pageCount() const
{
    return kxlayout::picInPicGeometry(m_bSeveral, m_others.size(), m_iPage).pages;
}

void QDlgPicInPic::setPageIndex(int page)
{
    m_iPage = page;
    relayout();
}

void QDlgPicInPic::relayout()
{
    const kxlayout::PicInPicGeometry geo = kxlayout::picInPicGeometry(m_bSeveral, m_others.size(), m_iPage);
    m_iPage = geo.pageIdx; // people may have left since the page was chosen
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
    m_pToggle->raise();
    m_pPrev->raise();
    m_pNext->raise();
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
    // and the gaps between tiles).
    if (e->button() == Qt::LeftButton) {
        m_bDragging = true;
        m_ptDrag = e->globalPos() - frameGeometry().topLeft();
    }
    QDialog::mousePressEvent(e);
}

void QDlgPicInPic::mouseMoveEvent(QMouseEvent* e)
{
    if (m_bDragging && (e->buttons() & Qt::LeftButton)) {
        QPoint to = e->globalPos() - m_ptDrag;
        // Kept whole on the screen it is on.
        if (QScreen* s = screen()) {
            const QRect avail = s->availableGeometry();
            to.setX(qBound(avail.left(), to.x(), qMax(avail.left(), avail.right() - width() + 1)));
            to.setY(qBound(avail.top(), to.y(), qMax(avail.top(), avail.bottom() - height() + 1)));
        }
        move(to);
        m_bMoved = true;
    }
    QDialog::mouseMoveEvent(e);
}

void QDlgPicInPic::mouseReleaseEvent(QMouseEvent* e)
{
    m_bDragging = false;
    QDialog::mouseReleaseEvent(e);
}
