import Vaelix

/// The sheet for a new password with a view model of its own.
ChangePasswordView {
    viewModel: ChangePasswordViewModel {}
}
