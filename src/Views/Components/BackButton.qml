import QtQuick

/// Leads back to where one came from.
BorderlessButton {
    symbol: "chevron.left"
    text: "返回"
}
