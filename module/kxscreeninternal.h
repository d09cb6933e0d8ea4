#ifndef KX_KXSCREENINTERNAL_H
#define KX_KXSCREENINTERNAL_H

// Operations with the exports' checks and logging that are not exported.
extern "C" {
// Turns the page: next for true (key Up), previous for false (key Down).
int KXScreen_ChangeShowPage(void* hScreen, bool bNext);
// Announces the participant's default stream type at once.
int KXScreen_SetDefStreamType(void* hScreen, void* hPlay);
}

#endif
