#pragma once

#include "Platform/AtomicFile.h"

struct Folders;

/// The configuration of the agent Hermes, ".hermes/config.yaml" under the home folder. It is taken as
/// plain text: what a question looks for may stand anywhere in it, in a comment too. Every call reads
/// the file afresh, and a file that cannot be read, or is not UTF-8, answers no. Interface thread only.
class HermesService
{
public:
    static HermesService &shared();

    /// The folders must outlive the service.
    explicit HermesService(const Folders &folders);

    bool isTelegramConnected() const;
    bool isDiscordConnected() const;
    bool isWeChatConnected() const;

    /// Tools run without asking.
    bool isApprovalsDisabled() const;
    /// Makes it so; a file that cannot be read is left alone. Only values in double quotes are
    /// recognised.
    std::expected<void, FileError> disableApprovals() const;

private:
    QString configurationFile() const;

    const Folders &m_folders;
};
