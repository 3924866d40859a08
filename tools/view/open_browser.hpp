#pragma once

#include <tools/Descriptor.hpp>

#include <string>

namespace logging2::tools::view {

/// Whether the user sits in front of a desktop that can show a browser.
bool has_desktop();

/// Opens an address in the user's browser. Other users can see the arguments of programs, so the
/// browser is given a file that leads to the address. The file is removed by the destructor.
class OpenedBrowser {
public:
    /// Tells nobody if there is no browser: the user has the address.
    explicit OpenedBrowser(const std::string& address);
    ~OpenedBrowser();

    OpenedBrowser(const OpenedBrowser&) = delete;
    OpenedBrowser& operator=(const OpenedBrowser&) = delete;

private:
    std::string file;
};

} // namespace logging2::tools::view
