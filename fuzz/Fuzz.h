#pragma once

#include <QByteArrayView>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// What the fuzz targets share. Each of them is one program around LLVMFuzzerTestOneInput(), which the fuzzer calls
/// with ever new bytes; what it finds is a crash, a report of a sanitizer or an expectation that fails.
namespace Fuzz {

/// Ends the process as a finding when `holds` is false; `what` says what should have held.
void expect(bool holds, const char *what);

/// Whether it has a form in UTF-8, so that it can be shown, stored and sent: no lone surrogates.
bool isText(const QString &text);
bool isUTF8(std::string_view bytes);

inline QByteArrayView bytesOf(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), qsizetype(size)};
}

} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
