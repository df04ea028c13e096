#pragma once

#include <QPointer>
#include <QQuickTextDocument>
#include <QtQml/qqmlregistration.h>

class QTextCursor;
class QTextDocument;

/// Keeps the document of a TextEdit equal to a text that mostly grows at its end and is cut at its
/// beginning, editing only those two ends, so that an update costs what has changed.
class TerminalDocument : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickTextDocument *textDocument MEMBER m_textDocument WRITE setTextDocument REQUIRED)
    Q_PROPERTY(QString text MEMBER m_text WRITE setText REQUIRED)
    Q_PROPERTY(qreal lineHeight MEMBER m_lineHeight WRITE setLineHeight REQUIRED)

public:
    using QObject::QObject;

    void setTextDocument(QQuickTextDocument *document);
    void setText(const QString &text);
    /// Of every line, in pixels.
    void setLineHeight(qreal lineHeight);

Q_SIGNALS:
    /// The text changed. What is still there of the old one stands higher by `removedHeight` pixels.
    void updated(qreal removedHeight);

private:
    void update();
    void replaceAll(QTextCursor &cursor, const QString &text) const;
    QTextDocument *document() const;

    QPointer<QQuickTextDocument> m_textDocument;
    QString m_text;
    QString m_shown; ///< what the document holds, with one character for each position
    qreal m_lineHeight = 0;
};
