#pragma once

#include <QByteArray>
#include <QFutureWatcher>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <QThreadPool>
#include <functional>
#include <optional>

/// The user's preferences for this application: values under text keys in one JSON file. Every read looks at the
/// file, so that the window and the command line may run side by side.
///
/// A change is seen by every later read here at once. It reaches the file in the background: reading, changing
/// and writing happen under one lock that all processes share, so none loses another's values. A file that is
/// not JSON is first set aside beside the new one, under a name that nothing has yet; a file that cannot be read
/// is never replaced. What could not be written stays valid for this run and is tried again with the next
/// change. Interface thread only.
class UserDefaults : public QObject
{
    Q_OBJECT
    /// Why changes are not kept, a Chinese sentence; empty while they are. It is told once, not for every change.
    Q_PROPERTY(QString problem READ problem NOTIFY problemChanged)

public:
    /// The new data under a key, made of what the file holds there. Runs on another thread, possibly repeatedly.
    using DataChange = std::function<QByteArray(const std::optional<QByteArray> &)>;

    /// The signed-in user's file, "com.vaelix.app.json" in the configuration folder.
    static UserDefaults &shared();

    explicit UserDefaults(QString filePath);
    /// Waits as flush() does.
    ~UserDefaults() override;

    // A missing key, or a value of another type, reads as none or false.
    std::optional<QByteArray> data(const QString &key) const;
    std::optional<QString> text(const QString &key) const;
    bool isTrue(const QString &key) const;

    void setData(const QString &key, const QByteArray &value);
    void setText(const QString &key, const QString &value);
    void setTrue(const QString &key, bool value);
    void changeData(const QString &key, DataChange change);

    /// Waits until every change is in the file or has failed, for some seconds at most while others hold the lock.
    /// To be called before the program ends.
    void flush();

    const QString &problem() const { return m_problem; }

Q_SIGNALS:
    void problemChanged();

private:
    using ValueChange = std::function<QJsonValue(const QJsonValue &)>;
    struct Change {
        QString key;
        ValueChange apply;
    };

    /// Empty on success. Any thread.
    static QString write(const QString &filePath, const QList<Change> &changes);

    QJsonValue value(const QString &key) const;
    void change(const QString &key, ValueChange change);
    void startWriting();
    void finishWriting();

    const QString m_filePath;
    QList<Change> m_pending; ///< not known to be in the file
    qsizetype m_tried = 0; ///< how many of these the write under way holds
    bool m_isWriting = false;
    QString m_problem;
    QThreadPool m_thread;
    QFutureWatcher<QString> m_writing;
};
