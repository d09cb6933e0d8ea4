#include "personinfo.h"

tagPersonInfo::~tagPersonInfo()
{
    delete[] m_pBufYuv420p;
    m_pBufYuv420p = nullptr;
}

quint64 tagPersonInfo::nextSerial()
{
    static std::atomic<quint64> counter{0};
    return ++counter;
}
