#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QUtf8StringView>
#include <optional>

/// The text an operation has written so far, its last 20 MiB, as UTF-8, and what the terminal pane shows
/// of it. Only the tail is ever looked at, and at most 60 times a second, so output may be long and
/// come in many pieces. "Characters" are user-perceived ones. Interface thread only.
class TerminalOutput : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY isEmptyChanged)
    Q_PROPERTY(QString displayText READ displayText NOTIFY shownChanged)
    Q_PROPERTY(bool hasProgress READ hasProgress NOTIFY shownChanged)
    Q_PROPERTY(double progress READ progress NOTIFY shownChanged)

public:
    explicit TerminalOutput(QObject *parent = nullptr);

    void append(QUtf8StringView text);
    void clear();

    /// How much of the text is kept at least; what came before is dropped now and then.
    static constexpr qsizetype keptBytes = 20 * 1024 * 1024;

    /// What is kept of everything so far. Copying it costs as much as it is long.
    const QByteArray &text() const { return m_text; }
    bool isEmpty() const { return m_text.isEmpty(); }

    /// Without colour escapes, each line from its last carriage return on: the last 6000 characters, after "...\n" when
    /// that is not all; "等待输出..." when there is none.
    const QString &displayText() const { return m_displayText; }
    /// A download is under way whose fraction curl's meter tells.
    bool hasProgress() const { return m_progress.has_value(); }
    /// From 0 to 1.
    double progress() const { return m_progress.value_or(0); }

Q_SIGNALS:
    void isEmptyChanged();
    /// What is shown changed; the only signal an append gives, some 16 ms later at most.
    void shownChanged();
    /// Every piece as it comes, unchanged.
    void appended(QUtf8StringView text);

private:
    void refresh();
    void dropBeginning();

    QByteArray m_text;
    bool m_isWhole = true; ///< nothing was dropped
    QString m_displayText;
    std::optional<double> m_progress;
    QTimer m_refreshTimer;
    QElapsedTimer m_sinceRefresh;
};

/// The fraction told by the last line of curl's progress meter among the last 400 characters of
/// `output`; none when there is no such line or the last 100 hold "✅" or "❌".
std::optional<double> curlProgress(QStringView output);
