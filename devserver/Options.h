#pragma once

#include <QStringList>
#include <expected>

namespace devserver {

/// What the command line asks for.
struct Options {
    quint16 port = 0;
    QString catalogFile; // the embedded one unless given
    QString updateImage; // none when empty
    bool help = false;
};

/// `arguments` begin with the program's name. The error is a Chinese sentence.
std::expected<Options, QString> readOptions(const QStringList &arguments);

QString usage();

} // namespace devserver
