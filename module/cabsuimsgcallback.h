#ifndef KX_CABSUIMSGCALLBACK_H
#define KX_CABSUIMSGCALLBACK_H

// A target of host notifications. The configuration keeps a list of them so
// that every gallery in the process, each with its own host function, hears
// every notification.
class CAbsUIMsgCallback
{
public:
    virtual ~CAbsUIMsgCallback() = default;
    virtual bool UIMsgNotify(unsigned int dwMsg, unsigned long long wParam, unsigned long long lParam) = 0;
};

#endif
