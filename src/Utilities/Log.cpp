#include "Log.h"

static std::FILE *logStream = stdout;

void Log::setStream(std::FILE *stream)
{
    logStream = stream;
}

void Log::line(const QString &line)
{
    std::fputs((line + u'\n').toUtf8().constData(), logStream);
    std::fflush(logStream);
}
