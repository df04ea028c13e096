#pragma once

#include "Platform/FileDescriptor.h"

#include <QString>
#include <expected>

/// One operation on a piece of software at a time, whoever of the user's Vaelix processes runs it: the
/// system's advisory lock on a file of the software. It ends with the object, and with the process
/// however that ends.
class OperationLock
{
public:
    /// Why the lock was not taken.
    struct Refusal {
        QString description; ///< a Chinese sentence, naming the holder
        bool isOurOwn = false; ///< an operation of this process holds it
    };

    /// Takes the lock in `folder`, which is made where it is missing, and notes there what is done with
    /// the software, as in "安装". `name` is what the user knows the software by. Does not wait.
    static std::expected<OperationLock, Refusal> take(const QString &folder, const QString &softwareId,
                                                      const QString &name, const QString &verb);

private:
    explicit OperationLock(FileDescriptor file)
        : m_file(std::move(file))
    {
    }

    FileDescriptor m_file;
};
