#include "kxtranslate.h"

#include "modulelog.h"

#include <QCoreApplication>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>
#include <QTranslator>

namespace {

QMutex g_lock;
QTranslator* g_own = nullptr;
QLocale g_ownLocale = QLocale::c();

// The module's translation for the locale in force now. Loaded on first use
// rather than at library load, so that a host that sets its locale (or
// QLocale::setDefault) before it creates the gallery gets it; loaded again when
// the locale has changed since. Called with g_lock held.
QTranslator* ownTranslator()
{
    const QLocale locale;
    if (g_own && locale == g_ownLocale)
        return g_own;
    delete g_own;
    g_own = new QTranslator();
    g_ownLocale = locale;
    const QString dir = QStringLiteral(":/i18n");
    const bool found = g_own->load(locale, QStringLiteral("KXScreenMod"), QStringLiteral("_"), dir);
    if (!found && !g_own->load(QStringLiteral("KXScreenMod_en"), dir))
        KXWARN << "[ScreenMod]no translation under" << dir;
    KXLOG << "[ScreenMod]translation for" << locale.name() << (found ? "found" : "missing, English used");
    return g_own;
}

} // namespace

QString kxTranslate(const char* context, const char* sourceText, const char* disambiguation)
{
    // Our translator is not installed, so this asks the host's ones only.
    const QString byHost = QCoreApplication::translate(context, sourceText, disambiguation);
    if (byHost != QString::fromUtf8(sourceText))
        return byHost;
    QMutexLocker lock(&g_lock);
    const QString own = ownTranslator()->translate(context, sourceText, disambiguation);
    return own.isEmpty() ? byHost : own;
}

namespace kxtranslate {

void release()
{
    QMutexLocker lock(&g_lock);
    delete g_own;
    g_own = nullptr;
}

} // namespace kxtranslate
