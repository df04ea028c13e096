#pragma once

#include "ShellService.h"

#include <QHash>
#include <QString>
#include <optional>

/// The answer to one yes-or-no question about the machine; an error when it gave none.
using DetectionAnswer = std::expected<bool, ShellError>;

/// Yes when the question's run exited with 0, and printed something where it is to. No where it could
/// not be started.
DetectionAnswer answerOf(const std::expected<ShellResult, ShellError> &run, bool isToPrint);

/// What the machine answered to one question for each piece of software.
struct DetectionAnswers {
    QHash<QString, bool> byId; ///< no key where there was no answer
    std::optional<ShellError> failure; ///< why the first missing answer is missing

    /// Takes one answer in. False when asking on is in vain.
    bool take(const QString &softwareId, const DetectionAnswer &answer);

    std::optional<bool> of(const QString &softwareId) const;
};
