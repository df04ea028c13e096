#pragma once

#include "PipeReader.h"

#include <QByteArrayView>
#include <QString>
#include <memory>

/// Keeps everything a program writes to a pipe, without ever copying it: the pipe is read straight
/// into a mapping that grows by moving its pages.
class CollectedText : public PipeSink
{
public:
    /// UTF-8 without the white space around it, as long as this lives. Bytes that are not UTF-8 are left out.
    QByteArrayView utf8() const;

    bool isEmpty() const { return utf8().isEmpty(); }
    QString toString() const { return QString::fromUtf8(utf8()); }

    std::span<char> room() override;
    void received(qsizetype count) override;

private:
    void grow();
    void populate();

    struct Unmap {
        qsizetype capacity;
        void operator()(char *mapping) const;
    };

    std::unique_ptr<char, Unmap> m_mapping;
    qsizetype m_size = 0;
    qsizetype m_populated = 0; ///< up to here, writing needs no page, or only the first small ones
    qsizetype m_validated = 0;
};
