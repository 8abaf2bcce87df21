#include "EngineLog.h"

Q_LOGGING_CATEGORY(lcEngine, "pictova.engine", QtWarningMsg)
