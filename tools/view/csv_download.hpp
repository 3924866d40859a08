#pragma once

#include <tools/selection/TimeRange.hpp>
#include <tools/view/messages.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// A signal, or one element of it.
struct SignalPart {
    std::string signal;
    std::optional<std::size_t> element;
};

/// All steps of the signals within the range, as `logging2 print --csv` prints them. The run
/// belongs to the download, which may take long. Throws HttpError: status 404 if the run has no
/// such signal or element, 503 if there are too many downloads.
Reply csv_download(std::unique_ptr<core::Run> run, const std::vector<SignalPart>& parts,
                   const TimeRange& range);

} // namespace logging2::tools::view
