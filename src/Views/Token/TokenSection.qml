import Vaelix

/// The token section with a view model of its own.
TokenOverviewView {
    viewModel: TokenViewModel {}
}
