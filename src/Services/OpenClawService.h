#pragma once

#include "Models/OpenClawConfig.h"
#include "Platform/AtomicFile.h"

struct Folders;

/// The files of the agent OpenClaw, in ".openclaw" under the home folder. Every question reads them
/// afresh, and what cannot be read or is not as expected answers no. Interface thread only.
class OpenClawService
{
public:
    static OpenClawService &shared();

    /// The folders must outlive the service.
    explicit OpenClawService(const Folders &folders);

    /// Writes "config.json".
    std::expected<void, FileError> writeConfig(const OpenClawConfig &config) const;

    /// The agent's QQ plug-in leaves "qqbot" behind once a channel is added.
    bool isQQBotConnected() const;

    /// "exec-approvals.json" lets tools run without asking.
    bool isApprovalsDisabled() const;
    /// Writes it so, whatever it held before.
    std::expected<void, FileError> disableApprovals() const;

    /// "openclaw-weixin/accounts.json" names an account: an array of texts, or an object whose "ids" is one.
    bool isWeChatConnected() const;

private:
    QString path(const char *name) const;

    const Folders &m_folders;
};
