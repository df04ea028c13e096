#pragma once

#include "ViewModels/TokenViewModel.h"

#include <QtQml/qqmlregistration.h>

/// The view model as the screens call it: QML cannot take the task that an operation returns, and
/// no screen waits for one.
class ScreenTokenViewModel : public TokenViewModel
{
    Q_OBJECT
    QML_NAMED_ELEMENT(TokenViewModel)

public:
    using TokenViewModel::TokenViewModel;

    explicit ScreenTokenViewModel(QObject *parent = nullptr)
        : TokenViewModel(parent)
    {
    }

    Q_INVOKABLE void loadData() { TokenViewModel::loadData(); }
    Q_INVOKABLE void purchase(const TokenPackage &tokenPackage) { TokenViewModel::purchase(tokenPackage); }
};
