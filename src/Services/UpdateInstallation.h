#pragma once

#include "Platform/FolderLock.h"
#include "UpdateError.h"

#include <QCoroTask>
#include <expected>
#include <functional>

/// What the swap needs once the application has ended.
struct PreparedUpdate {
    QString script; ///< absolute path of the executable script (see updateScript())
    QString newBundle; ///< absolute path of the bundle that the script will put in place
    /// Of the folder that the running bundle lies in. Whoever runs the script is to hold it on.
    std::shared_ptr<FolderLock> lock;
};

/// Gets a downloaded update ready to take the place of the running bundle, which it does not touch: verifies
/// the disk image, copies the new bundle out of it and writes the script that swaps them. Interface thread only.
class UpdateInstallation
{
public:
    struct Environment {
        QString bundle; ///< the running one, absolute
        QString temporaryFolder; ///< the system's, absolute
        QString diskImageTool; ///< absolute path of an hdiutil
        QString attributeTool = QStringLiteral("/usr/bin/xattr"); ///< need not be there
        QString permissionTool = QStringLiteral("/bin/chmod");
    };
    using ProgressHandler = std::function<void(const QString &)>;
    using Outcome = std::expected<PreparedUpdate, UpdateError>;

    /// Why the bundle cannot be replaced, as a Chinese sentence; empty when it can.
    static QString obstacle(const QString &bundle);

    /// `expectedHash` is the image's SHA-256 in hexadecimal of either case; empty for an image that is taken as
    /// it is. `onProgress` gets a sentence for each step.
    UpdateInstallation(Environment environment, QString image, QString expectedHash, ProgressHandler onProgress);

    /// After a failure no image stays mounted; a folder "Vaelix_update_…" may stay among the temporary ones.
    /// The object must outlive the task.
    QCoro::Task<Outcome> prepare();

private:
    using Step = std::expected<void, UpdateError>;

    QCoro::Task<Step> verify() const;
    QCoro::Task<> removeQuarantine() const;
    QCoro::Task<Step> takeBundle();
    QCoro::Task<Step> copyBundle(QString mountPoint);
    QCoro::Task<Step> writeScript() const;
    QString scriptPath() const;
    void report(const QString &step) const;

    const Environment m_environment;
    const QString m_image;
    const QString m_expectedHash;
    const ProgressHandler m_onProgress;
    const QString m_folder; ///< temporary, of this installation alone
    QString m_newBundle;
};
