import Vaelix

/// The software section with a view model of its own.
SoftwareListView {
    viewModel: SoftwareListViewModel {}
}
