import QtQuick
import Vaelix

/// The software section: the list at the left, the selected software at the right.
FocusScope {
    id: section

    required property SoftwareListViewModel viewModel

    Component.onCompleted: viewModel.loadData()

    Shortcut {
        enabled: section.visible
        sequences: ["Ctrl+F"]
        onActivated: listPane.focusSearch()
    }
    Shortcut {
        enabled: section.visible && !section.viewModel.isLoading && !section.viewModel.isOperating
        autoRepeat: false
        sequences: ["F5", "Ctrl+R"]
        onActivated: section.viewModel.loadData()
    }
    SoftwareListPane {
        id: listPane

        width: Math.max(264, Math.min(340, section.width * 0.3))
        height: parent.height
        focus: true
        viewModel: section.viewModel
    }
    Separator {
        id: separator

        anchors.left: listPane.right
        height: parent.height
    }
    Loader {
        anchors.left: separator.right
        anchors.right: parent.right
        height: parent.height
        sourceComponent: section.viewModel.selectedSoftware ? detail : placeholder
    }
    Component {
        id: detail

        SoftwareDetailView {
            software: section.viewModel.selectedSoftware
            viewModel: section.viewModel
        }
    }
    Component {
        id: placeholder

        EmptyPlaceholder {
            description: "从左侧列表中选择一个 AI 软件查看详情"
            systemImage: "cpu"
            title: "选择一个软件"
        }
    }
    AlertDialog {
        confirmText: "我知道了"
        message: "检测到登录账号发生变更，已停止相关服务并清除旧配置。请对已安装的软件重新点击「配置」以使用当前账号。"
        title: "账号已切换"
        visible: section.viewModel.showUserSwitchedAlert
        onClosed: section.viewModel.showUserSwitchedAlert = false
    }
}
