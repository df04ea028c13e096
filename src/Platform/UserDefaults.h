#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// The user's preferences for this application: values under text keys in one JSON file, replaced
/// whole on every change. Every read looks at the file, so that the window and the command line may
/// run side by side. A file that is not JSON reads as empty and is set aside, not lost, by the
/// first write. Interface thread only.
class UserDefaults
{
public:
    /// The signed-in user's file, "com.vaelix.app.json" in the configuration folder.
    static UserDefaults &shared();

    explicit UserDefaults(QString filePath);

    // A missing key, or a value of another type, reads as none or false.
    std::optional<QByteArray> data(const QString &key) const;
    std::optional<QString> text(const QString &key) const;
    bool isTrue(const QString &key) const;

    // A value that cannot be written is reported once on standard error; the old file stays.
    void setData(const QString &key, const QByteArray &value);
    void setText(const QString &key, const QString &value);
    void setTrue(const QString &key, bool value);

private:
    void setValue(const QString &key, const class QJsonValue &value);

    QString m_filePath;
};
