#include "personinfo.h"

tagPersonInfo::~tagPersonInfo()
{
    delete[] m_pBufYuv420p;
    m_pBufYuv420p = nullptr;
}
