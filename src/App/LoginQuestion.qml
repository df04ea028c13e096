/// Asks whether to sign in with an address that somebody opened: any web page can.
AlertDialog {
    required property string account
    /// Who is signed in; empty when nobody is.
    required property string currentAccount

    cancelText: "取消"
    confirmText: "登录"
    destructive: currentAccount !== ""
    message: "收到一个登录地址，账户：" + account + "\n\n"
        + (currentAccount === "" ? "只有刚才是你自己在浏览器中登录的，才应继续。"
                                 : "继续会替换当前账户 " + currentAccount + " 的登录；账户不同时，它的智能体会停止并需要重新配置。")
    title: "登录这个账户？"
}
