#pragma once

#include <QString>

class QWidget;

/// What every named control below `window` holds, a line "objectName=value" each, in the order of their
/// names; then the log's lines. Lists and tables have one line more for each row, "objectName(n)=...".
QString DescribeWindow(QWidget& window);
