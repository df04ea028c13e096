#pragma once

#include "Platform/Appearance.h"
#include "Platform/UserDefaults.h"
#include "Services/AuthService.h"
#include "ViewModels/ChangePasswordViewModel.h"
#include "ViewModels/DashboardViewModel.h"
#include "ViewModels/SoftwareListViewModel.h"
#include "ViewModels/TokenProxyViewModel.h"
#include "ViewModels/TokenViewModel.h"
#include "ViewModels/UpdateViewModel.h"

#include <QtQml/qqml.h>

class QQmlEngine;

/// Makes `engine` ready to load the screens: registers the module Vaelix, its resources and the
/// images it asks for. Call it once for each engine, before loading anything. The main window is
/// mainWindowUrl.
void installViews(QQmlEngine &engine);

inline const QString mainWindowUrl = QStringLiteral("qrc:/qt-project.org/imports/Vaelix/Main.qml");

// What the screens know of the library, which itself knows nothing of QML.

struct AppearanceType {
    Q_GADGET
    QML_FOREIGN(Appearance)
    QML_NAMED_ELEMENT(Appearance)
    QML_SINGLETON

public:
    static Appearance *create(QQmlEngine *, QJSEngine *);
};

struct UserDefaultsType {
    Q_GADGET
    QML_FOREIGN(UserDefaults)
    QML_NAMED_ELEMENT(UserDefaults)
    QML_UNCREATABLE("There is one, which the application hands to its window.")
};

struct AuthServiceType {
    Q_GADGET
    QML_FOREIGN(AuthService)
    QML_NAMED_ELEMENT(AuthService)
    QML_UNCREATABLE("There is one, which the application hands to its window.")
};

// Made known by its heir ScreenViewModel, which adds what QML can call.
struct SoftwareListViewModelType {
    Q_GADGET
    QML_FOREIGN(SoftwareListViewModel)
    QML_ANONYMOUS
};

// Made known by its heir ScreenDashboardViewModel.
struct DashboardViewModelType {
    Q_GADGET
    QML_FOREIGN(DashboardViewModel)
    QML_ANONYMOUS
};

struct DashboardUsageModelType {
    Q_GADGET
    QML_FOREIGN(DashboardUsageModel)
    QML_NAMED_ELEMENT(DashboardUsageModel)
    QML_UNCREATABLE("It belongs to a DashboardViewModel.")
};

// Made known by its heir ScreenChangePasswordViewModel.
struct ChangePasswordViewModelType {
    Q_GADGET
    QML_FOREIGN(ChangePasswordViewModel)
    QML_ANONYMOUS
};

// Made known by its heir ScreenTokenViewModel.
struct TokenViewModelType {
    Q_GADGET
    QML_FOREIGN(TokenViewModel)
    QML_ANONYMOUS
};

// Made known by its heir ScreenUpdateViewModel.
struct UpdateViewModelType {
    Q_GADGET
    QML_FOREIGN(UpdateViewModel)
    QML_ANONYMOUS
};

struct AppVersionInfoType {
    Q_GADGET
    QML_FOREIGN(AppVersionInfo)
    QML_VALUE_TYPE(appVersionInfo)
};

struct TokenProxyViewModelType {
    Q_GADGET
    QML_FOREIGN(TokenProxyViewModel)
    QML_NAMED_ELEMENT(TokenProxyViewModel)
};

struct TokenBalanceType {
    Q_GADGET
    QML_FOREIGN(TokenBalance)
    QML_NAMED_ELEMENT(TokenBalance)
    QML_UNCREATABLE("It belongs to a TokenViewModel.")
};

struct TokenPackageType {
    Q_GADGET
    QML_FOREIGN(TokenPackage)
    QML_VALUE_TYPE(tokenPackage)
};

struct TokenPackageListModelType {
    Q_GADGET
    QML_FOREIGN(TokenPackageListModel)
    QML_NAMED_ELEMENT(TokenPackageListModel)
    QML_UNCREATABLE("It belongs to a TokenViewModel.")
};

struct TokenTransactionListModelType {
    Q_GADGET
    QML_FOREIGN(TokenTransactionListModel)
    QML_NAMED_ELEMENT(TokenTransactionListModel)
    QML_UNCREATABLE("It belongs to a TokenViewModel.")
};

struct SoftwareListModelType {
    Q_GADGET
    QML_FOREIGN(SoftwareListModel)
    QML_NAMED_ELEMENT(SoftwareListModel)
    QML_UNCREATABLE("It belongs to a SoftwareListViewModel.")
};

struct TerminalOutputType {
    Q_GADGET
    QML_FOREIGN(TerminalOutput)
    QML_NAMED_ELEMENT(TerminalOutput)
    QML_UNCREATABLE("It belongs to a SoftwareListViewModel.")
};

struct QQBotConnectViewModelType {
    Q_GADGET
    QML_FOREIGN(QQBotConnectViewModel)
    QML_NAMED_ELEMENT(QQBotConnectViewModel)
    QML_UNCREATABLE("There is one, which a SoftwareListViewModel hands out.")
};

struct WeChatConnectViewModelType {
    Q_GADGET
    QML_FOREIGN(WeChatConnectViewModel)
    QML_NAMED_ELEMENT(WeChatConnectViewModel)
    QML_UNCREATABLE("There is one, which a SoftwareListViewModel hands out.")
};

struct AISoftwareType {
    Q_GADGET
    QML_FOREIGN(AISoftware)
    QML_NAMED_ELEMENT(AISoftware)
    QML_UNCREATABLE("There is one object per piece of software, in the store's list.")
};

namespace SoftwareCategoryType {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(SoftwareCategory)
QML_NAMED_ELEMENT(SoftwareCategory)
} // namespace SoftwareCategoryType

namespace SoftwareStatusType {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(SoftwareStatus)
QML_NAMED_ELEMENT(SoftwareStatus)
} // namespace SoftwareStatusType

namespace TokenTabType {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(TokenTab)
QML_NAMED_ELEMENT(TokenTab)
} // namespace TokenTabType

namespace TransactionTypeType {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(TransactionType)
QML_NAMED_ELEMENT(TransactionType)
} // namespace TransactionTypeType
