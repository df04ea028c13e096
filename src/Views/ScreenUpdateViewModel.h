#pragma once

#include "ViewModels/UpdateViewModel.h"

#include <QtQml/qqmlregistration.h>

/// The view model as the window calls it: QML cannot take the tasks that the checks return.
class ScreenUpdateViewModel : public UpdateViewModel
{
    Q_OBJECT
    QML_NAMED_ELEMENT(UpdateViewModel)

public:
    using UpdateViewModel::UpdateViewModel;

    explicit ScreenUpdateViewModel(QObject *parent = nullptr)
        : UpdateViewModel(parent)
    {
    }

    Q_INVOKABLE void checkAtStart() { UpdateViewModel::checkAtStart(); }
    Q_INVOKABLE void check() { UpdateViewModel::check(); }
    Q_INVOKABLE void dismiss() { UpdateViewModel::dismiss(); }
    Q_INVOKABLE void startDownload() { UpdateViewModel::startDownload(); }
    Q_INVOKABLE void cancelDownload() { UpdateViewModel::cancelDownload(); }
};
