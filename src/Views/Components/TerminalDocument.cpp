#include "TerminalDocument.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>
#include <vector>

namespace {

/// What stands for the text before the displayed end.
const QString omission = QStringLiteral("...\n");

/// `text` with one line feed for whatever a document would turn into a new paragraph.
QString withPlainLineEnds(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    for (QChar &character : text)
        if (character == u'\r' || character == QChar::ParagraphSeparator || character == QChar(0xFDD0)
            || character == QChar(0xFDD1))
            character = u'\n';
    return text;
}

/// What one text has in common with the one that follows it.
struct Overlap {
    qsizetype length = 0;
    qsizetype end = 0; ///< where it ends in the former text, which may have changed behind that
};

/// The longest beginning of `next` that ends `previous`, with or without its last line, which may have been written
/// anew; by Knuth, Morris and Pratt.
Overlap overlap(QStringView previous, QStringView next)
{
    if (next.isEmpty())
        return {};
    std::vector<qsizetype> borders(size_t(next.size()) + 1, 0);
    qsizetype length = 0;
    for (qsizetype i = 1; i < next.size(); ++i) {
        while (length > 0 && next[i] != next[length])
            length = borders[size_t(length)];
        length += next[i] == next[length];
        borders[size_t(i) + 1] = length;
    }
    length = 0;
    Overlap lines;
    for (qsizetype i = 0; i < previous.size(); ++i) {
        while (length == next.size() || (length > 0 && previous[i] != next[length]))
            length = borders[size_t(length)];
        length += previous[i] == next[length];
        if (previous[i] == u'\n')
            lines = {length, i + 1};
    }
    return length < lines.length ? lines : Overlap{length, previous.size()};
}

qreal top(const QTextDocument &document, int position)
{
    return document.documentLayout()->blockBoundingRect(document.findBlock(position)).top();
}

} // namespace

void TerminalDocument::setTextDocument(QQuickTextDocument *document)
{
    m_textDocument = document;
    m_shown.clear();
    update();
}

void TerminalDocument::setLineHeight(qreal lineHeight)
{
    m_lineHeight = lineHeight;
    m_shown.clear();
    update();
}

void TerminalDocument::setText(const QString &text)
{
    m_text = text;
    update();
}

QTextDocument *TerminalDocument::document() const
{
    return m_textDocument ? m_textDocument->textDocument() : nullptr;
}

void TerminalDocument::update()
{
    if (!document() || m_lineHeight <= 0)
        return;
    const QString next = withPlainLineEnds(m_text);
    const QStringView mark = QStringView(next).startsWith(omission) ? QStringView(omission) : QStringView();
    const QStringView body = QStringView(next).sliced(mark.size());
    const qsizetype oldMark = QStringView(m_shown).startsWith(omission) ? omission.size() : 0;
    const auto [kept, end] = overlap(QStringView(m_shown).sliced(oldMark), body);
    const int keptStart = int(oldMark + end - kept);
    const qreal removedHeight = kept > 0 ? top(*document(), keptStart) - top(*document(), int(oldMark)) : 0;

    // Not one edit block: the document lays out anew everything between its first and last change.
    QTextCursor cursor(document());
    if (kept == 0) {
        replaceAll(cursor, next);
    } else {
        cursor.setPosition(int(oldMark + end));
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        cursor.insertText(body.sliced(kept).toString());
        cursor.setPosition(int(std::min(oldMark, mark.size())));
        cursor.setPosition(keptStart, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        if (oldMark < mark.size())
            cursor.insertText(omission);
    }
    m_shown = next;
    Q_EMIT updated(removedHeight);
}

void TerminalDocument::replaceAll(QTextCursor &cursor, const QString &text) const
{
    document()->setUndoRedoEnabled(false);
    QTextBlockFormat format;
    format.setLineHeight(m_lineHeight, QTextBlockFormat::FixedHeight);
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    cursor.setBlockFormat(format);
    cursor.insertText(text);
}
