#include "Fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <simdjson.h>

void Fuzz::expect(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
}

bool Fuzz::isText(const QString &text)
{
    return QString::fromUtf8(text.toUtf8()) == text;
}

bool Fuzz::isUTF8(std::string_view bytes)
{
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}
