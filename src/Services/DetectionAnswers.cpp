#include "DetectionAnswers.h"

DetectionAnswer answerOf(const std::expected<ShellResult, ShellError> &run, bool isToPrint)
{
    if (run)
        return run->exitCode == 0 && !(isToPrint && run->output.isEmpty());
    if (run.error().kind == ShellError::Kind::NotStarted)
        return false;
    return std::unexpected(run.error());
}

bool DetectionAnswers::take(const QString &softwareId, const DetectionAnswer &answer)
{
    if (answer) {
        byId[softwareId] = *answer;
        return true;
    }
    if (!failure)
        failure = answer.error();
    return !answer.error().isAboutProfile();
}

std::optional<bool> DetectionAnswers::of(const QString &softwareId) const
{
    const auto answer = byId.find(softwareId);
    return answer == byId.end() ? std::nullopt : std::optional(*answer);
}
