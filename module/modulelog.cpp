#include "modulelog.h"

Q_LOGGING_CATEGORY(lcKXScreen, "kxscreen")
