#include "Fuzz.h"

#include "Utilities/Text.h"
#include "ViewModels/TerminalOutput.h"

#include <QTextBoundaryFinder>

namespace {

/// The slow way: over the whole text.
qsizetype startOfLast(qsizetype count, const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.toEnd();
    while (count > 0 && finder.toPreviousBoundary() > 0)
        --count;
    return std::max<qsizetype>(0, finder.position());
}

} // namespace

/// curl's meter in an output, and the end of it that is looked at, whose length the first byte decides.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QString text = QString::fromUtf8(Fuzz::bytesOf(data, size).sliced(1));
    if (const auto progress = curlProgress(text))
        Fuzz::expect(*progress >= 0 && *progress <= 1, "progress is a fraction");
    Fuzz::expect(lastCharactersStart(text, data[0]) == startOfLast(data[0], text), "the last characters are found");
    return 0;
}
