#ifndef KX_CWIN32UICALLBACK_H
#define KX_CWIN32UICALLBACK_H

#include "cabsuimsgcallback.h"

struct KXScreenHandle;

// Forwards notifications to the host function of one gallery.
class CWin32UICallback : public CAbsUIMsgCallback
{
public:
    CWin32UICallback() = default;
    ~CWin32UICallback() override = default;
    bool UIMsgNotify(unsigned int dwMsg, unsigned long long wParam, unsigned long long lParam) override;

    KXScreenHandle* m_pScreen = nullptr;
};

#endif
