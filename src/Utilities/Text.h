#pragma once

#include <QStringView>

/// Where the last `count` user-perceived characters of `text` begin; 0 when it has no more than that.
/// Looks at no more of the text than these characters need.
qsizetype lastCharactersStart(QStringView text, qsizetype count);
