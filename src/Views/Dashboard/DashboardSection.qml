import Vaelix

/// The dashboard with a view model of its own.
DashboardView {
    viewModel: DashboardViewModel {}
}
