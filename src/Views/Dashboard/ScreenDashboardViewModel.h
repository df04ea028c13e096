#pragma once

#include "ViewModels/DashboardViewModel.h"

#include <QtQml/qqmlregistration.h>

/// The view model as the screens call it: QML cannot take the task that an operation returns, and
/// no screen waits for one.
class ScreenDashboardViewModel : public DashboardViewModel
{
    Q_OBJECT
    QML_NAMED_ELEMENT(DashboardViewModel)

public:
    using DashboardViewModel::DashboardViewModel;

    explicit ScreenDashboardViewModel(QObject *parent = nullptr)
        : DashboardViewModel(parent)
    {
    }

    Q_INVOKABLE void loadData() { DashboardViewModel::loadData(); }
};
