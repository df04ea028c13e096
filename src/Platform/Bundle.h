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
