#pragma once

#include "ViewModels/SoftwareListViewModel.h"

#include <QtQml/qqmlregistration.h>

/// The view model as the screens call it: QML cannot take the task that an operation returns, and
/// no screen waits for one.
class ScreenViewModel : public SoftwareListViewModel
{
    Q_OBJECT
    QML_NAMED_ELEMENT(SoftwareListViewModel)

public:
    using SoftwareListViewModel::SoftwareListViewModel;

    explicit ScreenViewModel(QObject *parent = nullptr)
        : SoftwareListViewModel(parent)
    {
    }

    Q_INVOKABLE void loadData() { SoftwareListViewModel::loadData(); }
    Q_INVOKABLE void install(AISoftware *software) { SoftwareListViewModel::install(software); }
    Q_INVOKABLE void upgrade(AISoftware *software) { SoftwareListViewModel::upgrade(software); }
    Q_INVOKABLE void uninstall(AISoftware *software) { SoftwareListViewModel::uninstall(software); }
    Q_INVOKABLE void start(AISoftware *software) { SoftwareListViewModel::start(software); }
    Q_INVOKABLE void stop(AISoftware *software) { SoftwareListViewModel::stop(software); }
    Q_INVOKABLE void configure(AISoftware *software) { SoftwareListViewModel::configure(software); }
    Q_INVOKABLE void openChat(AISoftware *software) { SoftwareListViewModel::openChat(software); }
    Q_INVOKABLE void setupHermesGateway() { SoftwareListViewModel::setupHermesGateway(); }
    Q_INVOKABLE void disableApprovals() { SoftwareListViewModel::disableApprovals(); }
    Q_INVOKABLE void connectQQBot() { qqBotConnection()->connectQQBot(); }
    Q_INVOKABLE void connectWeChat() { SoftwareListViewModel::connectWeChat(); }
};
