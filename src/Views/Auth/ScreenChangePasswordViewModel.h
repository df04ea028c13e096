#pragma once

#include "ViewModels/ChangePasswordViewModel.h"

#include <QtQml/qqmlregistration.h>

/// The view model as the sheet calls it: QML cannot take the task that the change returns.
class ScreenChangePasswordViewModel : public ChangePasswordViewModel
{
    Q_OBJECT
    QML_NAMED_ELEMENT(ChangePasswordViewModel)

public:
    using ChangePasswordViewModel::ChangePasswordViewModel;

    explicit ScreenChangePasswordViewModel(QObject *parent = nullptr)
        : ChangePasswordViewModel(parent)
    {
    }

    Q_INVOKABLE void changePassword(const QString &oldPassword, const QString &newPassword,
                                    const QString &confirmPassword)
    {
        ChangePasswordViewModel::changePassword(oldPassword, newPassword, confirmPassword);
    }
};
