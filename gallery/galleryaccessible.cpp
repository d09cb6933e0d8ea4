#include "galleryaccessible.h"

#include "accessrules.h"
#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "kxtranslate.h"
#include "overlaybutton.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qdlgscreen.h"
#include "qmypagectrl.h"

#include <QAccessibleWidget>
#include <cstdlib>

namespace {

QAccessibleInterface* ifaceOf(QWidget* w)
{
    return w ? QAccessible::queryAccessibleInterface(w) : nullptr;
}

// A window or the gallery: its children are the tiles and controls on show.
class ContainerAccessible : public QAccessibleWidget
{
public:
    ContainerAccessible(QWidget* w, QAccessible::Role role) : QAccessibleWidget(w, role) {}

    QString text(QAccessible::Text t) const override
    {
        if (t != QAccessible::Name || !widget()->accessibleName().isEmpty())
            return QAccessibleWidget::text(t);
        if (qobject_cast<QDlgPicInPic*>(object()))
            return kxTranslate("QDlgPicInPic", "Floating window");
        if (qobject_cast<QDlgExtScreen*>(object()))
            return kxTranslate("QDlgExtScreen", "External screen");
        return kxTranslate("QDlgScreen", "Participants");
    }
    int childCount() const override { return kxaccessible::readingChildren(widget()).size(); }
    QAccessibleInterface* child(int index) const override
    {
        return ifaceOf(kxaccessible::readingChildren(widget()).value(index));
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return child ? kxaccessible::readingChildren(widget()).indexOf(qobject_cast<QWidget*>(child->object())) : -1;
    }
};

// One tile: the overlay's words, its controls as children.
class TileAccessible : public QAccessibleWidget
{
public:
    explicit TileAccessible(CPlayWidget* tile) : QAccessibleWidget(tile, QAccessible::ListItem) {}

    CPlayWidget* tile() const { return static_cast<CPlayWidget*>(widget()); }
    QVector<QWidget*> controls() const
    {
        QVector<QWidget*> out;
        if (QDlgPlayInfo* info = tile()->playInfo()) {
            for (QWidget* b : {static_cast<QWidget*>(info->micButton()), static_cast<QWidget*>(info->moreButton()),
                               static_cast<QWidget*>(info->recallButton())}) {
                if (b->isVisibleTo(tile()))
                    out.append(b);
            }
        }
        return out;
    }
    int childCount() const override { return controls().size(); }
    QAccessibleInterface* child(int index) const override { return ifaceOf(controls().value(index)); }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        return child ? controls().indexOf(qobject_cast<QWidget*>(child->object())) : -1;
    }
    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        names << pressAction();
        if (tile()->playInfo() && tile()->playInfo()->moreButton()->isVisibleTo(tile()))
            names << showMenuAction();
        return names;
    }
    void doAction(const QString& action) override
    {
        if (action == pressAction())
            emit tile()->mouseLDClick(tile()); // what a double click does
        else if (action == showMenuAction())
            tile()->playInfo()->openMore();
        else
            QAccessibleWidget::doAction(action);
    }
};

// The name of a page control, by its index in QDlgScreen::pageCtrl.
QString pageCtrlName(int index)
{
    switch (index) {
    case 0: case 1: case 4: return kxTranslate("QDlgScreen", "Next page");
    case 2: case 3: case 5: return kxTranslate("QDlgScreen", "Previous page");
    case 6: return kxTranslate("QDlgScreen", "Show the small tiles");
    case 7: return kxTranslate("QDlgScreen", "Hide the small tiles");
    default: return QString();
    }
}

// A tile's control (a child of the tile, past its overlay), a control of the
// floating window, or a page control of the gallery.
class ButtonAccessible : public QAccessibleWidget
{
public:
    explicit ButtonAccessible(QWidget* w) : QAccessibleWidget(w, QAccessible::Button) {}

    QAccessibleInterface* parent() const override
    {
        QWidget* p = widget()->parentWidget();
        if (qobject_cast<QDlgPlayInfo*>(p) && p->parentWidget())
            return ifaceOf(p->parentWidget());
        return QAccessibleWidget::parent();
    }
    QString text(QAccessible::Text t) const override
    {
        auto* gallery = qobject_cast<QDlgScreen*>(widget()->parentWidget());
        if (t == QAccessible::Name && widget()->accessibleName().isEmpty() && gallery) {
            for (int i = 0; gallery->pageCtrl(i); ++i) {
                if (gallery->pageCtrl(i) == widget())
                    return pageCtrlName(i);
            }
        }
        // Qt describes a widget by its tooltip; a tooltip that only repeats
        // the name would be heard twice.
        if (t == QAccessible::Description && widget()->accessibleDescription().isEmpty()
            && widget()->toolTip() == text(QAccessible::Name))
            return QString();
        return QAccessibleWidget::text(t);
    }
    QStringList actionNames() const override { return QAccessibleWidget::actionNames() << pressAction(); }
    void doAction(const QString& action) override
    {
        if (action != pressAction())
            QAccessibleWidget::doAction(action);
        else if (auto* b = qobject_cast<OverlayButton*>(object()))
            b->click();
        else if (auto* c = qobject_cast<QMyPageCtrl*>(object()))
            emit c->clickPageCtl(c);
    }
};

QAccessibleInterface* factory(const QString& className, QObject* object)
{
    // Asked once per class up the object's inheritance, most derived first;
    // the casts keep a host class of the same name out.
    Q_UNUSED(className);
    if (auto* t = qobject_cast<CPlayWidget*>(object))
        return new TileAccessible(t);
    if (qobject_cast<OverlayButton*>(object) || qobject_cast<QMyPageCtrl*>(object))
        return new ButtonAccessible(static_cast<QWidget*>(object));
    if (auto* g = qobject_cast<QDlgScreen*>(object))
        return new ContainerAccessible(g, QAccessible::List);
    if (qobject_cast<QDlgPicInPic*>(object) || qobject_cast<QDlgExtScreen*>(object))
        return new ContainerAccessible(static_cast<QWidget*>(object), QAccessible::Dialog);
    return nullptr;
}

bool g_installed = false;

void uninstall()
{
    if (!g_installed)
        return;
    g_installed = false;
    QAccessible::removeFactory(factory);
}

} // namespace

namespace kxaccessible {

void install()
{
    if (g_installed)
        return;
    g_installed = true;
    QAccessible::installFactory(factory);
    // Qt must not call into this library once it is unloaded. Registered
    // after Qt's list of factories exists, the handler runs before that list
    // is destroyed at exit, and when the library alone is unloaded.
    static bool s_atExit = false;
    if (!s_atExit) {
        s_atExit = true;
        std::atexit(uninstall);
    }
}

QVector<QWidget*> readingChildren(const QWidget* container)
{
    QVector<QWidget*> groups[2]; // tiles, the rest
    for (QObject* o : container->children()) {
        auto* w = qobject_cast<QWidget*>(o);
        if (w && !w->isWindow() && w->isVisibleTo(container))
            groups[qobject_cast<CPlayWidget*>(w) ? 0 : 1].append(w);
    }
    QVector<QWidget*> out;
    for (const QVector<QWidget*>& group : groups) {
        QVector<QRect> rects;
        rects.reserve(group.size());
        for (QWidget* w : group)
            rects.append(w->geometry());
        for (int i : kxaccess::readingOrder(rects))
            out.append(group.at(i));
    }
    return out;
}

} // namespace kxaccessible
