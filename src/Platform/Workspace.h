#pragma once

#include <QCoroTask>
#include <QProcessEnvironment>
#include <QString>
#include <QUrl>
#include <expected>

class QProcess;

/// Why something was not opened: a Chinese sentence.
struct WorkspaceError {
    QString description;
};

/// Opens files and addresses with the desktop's programs.
class Workspace
{
public:
    static Workspace &shared();

    /// The environment tells where programs are, which terminal the user prefers ($TERMINAL), and
    /// becomes that of what is opened.
    explicit Workspace(const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

    /// Runs a script, a ".command" file, in a terminal window of its own and returns without waiting
    /// for it. Refuses a file that another user owns or can write: it may stand in a folder where
    /// everybody creates files.
    std::expected<void, WorkspaceError> openCommandFile(const QString &path) const;

    /// Opens an address in the user's browser. Fails once the desktop has said that it cannot; may
    /// return only when the browser is closed.
    QCoro::Task<std::expected<void, WorkspaceError>> openAddress(QUrl url) const;

private:
    /// False when the program is not installed.
    bool prepare(QProcess &process, const QStringList &commandLine) const;
    bool start(const QStringList &commandLine) const;

    const QProcessEnvironment m_environment;
};
