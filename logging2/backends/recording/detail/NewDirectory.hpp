#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>

#include <string>

#include <sys/types.h>

namespace logging2::core::detail {

/// A directory that is made under a name beside its own, and gets its own when it is complete.
class NewDirectory {
public:
    /// Makes the directory NAME.XXXXXX. Throws RecordingError if it cannot, or if NAME exists.
    NewDirectory(const std::string& name, mode_t mode);
    NewDirectory(const NewDirectory&) = delete;
    NewDirectory& operator=(const NewDirectory&) = delete;

    /// Removes the directory if it was not published.
    ~NewDirectory();

    /// Where it is until it is published.
    const std::string& path() const noexcept { return made; }

    /// Gives it its name. With Durability::power it waits until the disk has it.
    void publish(Durability durability);

private:
    std::string name;
    std::string made; ///< empty when it was published
};

} // namespace logging2::core::detail
