#ifndef KX_MODULELOG_H
#define KX_MODULELOG_H

#include <QDebug>
#include <QLoggingCategory>

// Every line the module writes goes through this category ("kxscreen"), so a
// host can silence or redirect it with QT_LOGGING_RULES / QLoggingCategory.
// Debug output is on by default, like the plain debug stream.
Q_DECLARE_LOGGING_CATEGORY(lcKXScreen)

#define KXLOG qCDebug(lcKXScreen).noquote()
#define KXWARN qCWarning(lcKXScreen).noquote()

#endif
