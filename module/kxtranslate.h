#ifndef KX_KXTRANSLATE_H
#define KX_KXTRANSLATE_H

#include <QString>

// The module's user-visible text, translated.
//
// The host's translators come first: whatever a translator the host installed
// in its application says for one of our strings wins, whether the host
// installed it before or after KXScreen_Init. Only when none of them knows the
// string does the module's own translation answer (resources/KXScreenMod_<locale>.ts,
// compiled in, chosen by QLocale() with English as the fallback). That is why
// the module's translator is never installed in the host's application: Qt
// asks the newest translator first, so ours would hide a host translation made
// before it, and installing it would send every host window a LanguageChange.
//
// Every string a user can see or hear (labels, tool tips, accessible names and
// descriptions) goes through kxTranslate with its class's name as the context,
// never tr() or QCoreApplication::translate:
//
//     m_pBtnMore->setAccessibleName(kxTranslate("QDlgPlayInfo", "More"));
//
// lupdate knows kxTranslate as an alias of QCoreApplication::translate. After
// adding or changing a string, run
//     cmake --build build --target kx_update_translations
// and translate the entries it adds to every resources/KXScreenMod_*.ts as
// "unfinished"; the test translations_current fails until that is done.
//
// A host translation that leaves a string as it is cannot be told from no
// translation, so for that string the module's own, for QLocale(), is shown.
QString kxTranslate(const char* context, const char* sourceText, const char* disambiguation = nullptr);

namespace kxtranslate {
// Drops the module's translator (library detach); the next kxTranslate loads
// it again.
void release();
} // namespace kxtranslate

#endif
