#pragma once

#include <QLoggingCategory>

// Warnings of the conversion engine: one line per file that could not be
// converted, and one when the decoding library is missing. Tools that report
// failures themselves (the command-line converter) switch this category off.
Q_DECLARE_LOGGING_CATEGORY(lcEngine)
