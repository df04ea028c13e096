#pragma once

#include <QString>
#include <optional>

/// The application bundle: a folder "Vaelix.app" holding Contents/{MacOS,Resources,Helpers,Info.plist}.
class Bundle
{
public:
    /// The bundle the running executable lies in.
    static const Bundle &main();

    explicit Bundle(QString contentsFolder);
    /// The one at `path`, which is that of its outermost folder.
    static Bundle at(const QString &path) { return Bundle(path + QStringLiteral("/Contents")); }

    /// The bundle's outermost folder, absolute.
    QString path() const;
    /// The folder with programs that stand for the system's.
    QString helpersFolder() const { return m_contentsFolder + QStringLiteral("/Helpers"); }
    /// The absolute path of the program that Info.plist's CFBundleExecutable names; none when it is not there
    /// or cannot be run.
    std::optional<QString> executable() const;

    /// From Info.plist's CFBundleShortVersionString; none when it does not say.
    std::optional<QString> shortVersion() const;
    /// From Info.plist's CFBundleVersion; none when it does not say.
    std::optional<QString> buildNumber() const;

    /// Absolute path of a file or folder under Resources; none when it does not exist.
    std::optional<QString> resource(const QString &name) const;

private:
    std::optional<QString> property(const char *key) const;

    QString m_contentsFolder;
};
