#pragma once

#include <cstddef>
#include <memory>
#include <tuple>
#include <utility>

namespace logging2::core {

/// Read-only doubles that lie side by side and belong to somebody else.
class DoubleView {
public:
    /// No elements.
    DoubleView() = default;

    /// The elementCount doubles from first on.
    DoubleView(const double* first, std::size_t elementCount) noexcept
        : elements(first),
          count(elementCount) {}

    /// The first element; null or not to be read if there is none.
    const double* data() const noexcept { return elements; }
    /// The number of elements.
    std::size_t size() const noexcept { return count; }
    /// Whether there is no element.
    bool empty() const noexcept { return count == 0; }
    /// The element of this index, which is not checked.
    double operator[](std::size_t index) const noexcept { return elements[index]; }
    /// The first element, for range-based loops and algorithms.
    const double* begin() const noexcept { return elements; }
    /// The end of the elements.
    const double* end() const noexcept { return elements + count; }

private:
    const double* elements = nullptr;
    std::size_t count = 0;
};

/// The samples of one signal: S times, and S·w values for a signal of width w.
///
/// The values are sample-major: those of sample s are the elements s·w to s·w + w - 1. Copies of a
/// series share the data, which stays valid as long as one of them lives, also after its run was
/// closed or refreshed. Several threads may read it.
///
/// `const auto [times, values, width] = run.series(path);` takes a temporary apart; the three are
/// valid until the end of their scope.
class Series {
public:
    /// No samples of a signal of width 0.
    Series() = default;

    /// The samples at these places. The owner keeps the places valid; isNoCopy tells whether they
    /// are those of the run itself.
    Series(DoubleView sampleTimes, DoubleView sampleValues, std::size_t sampleWidth,
           std::shared_ptr<const void> dataOwner, bool isNoCopy)
        : timeView(sampleTimes),
          valueView(sampleValues),
          valueCount(sampleWidth),
          owner(std::move(dataOwner)),
          view(isNoCopy) {}

    /// The S times in the order in which the samples were logged, in the host's unit.
    const DoubleView& times() const noexcept { return timeView; }

    /// The S·w values.
    const DoubleView& values() const noexcept { return valueView; }

    /// The number of doubles per sample, w.
    std::size_t width() const noexcept { return valueCount; }

    /// The number of samples, S.
    std::size_t size() const noexcept { return timeView.size(); }

    /// Whether the data is the run's own, and not a copy: its memory, or its file, mapped into
    /// memory. If such a file is truncated meanwhile, reading the data raises SIGBUS.
    bool isView() const noexcept { return view; }

    /// The parts of a structured binding: times, values and width.
    template <std::size_t Index>
    const auto& get() const noexcept {
        if constexpr (Index == 0) {
            return timeView;
        } else if constexpr (Index == 1) {
            return valueView;
        } else {
            return valueCount;
        }
    }

private:
    DoubleView timeView;
    DoubleView valueView;
    std::size_t valueCount = 0;
    std::shared_ptr<const void> owner;
    bool view = false;
};

} // namespace logging2::core

/// A series has three parts in a structured binding.
template <>
struct std::tuple_size<logging2::core::Series> : std::integral_constant<std::size_t, 3> {};
/// Times and values are views.
template <std::size_t Index>
struct std::tuple_element<Index, logging2::core::Series> {
    /// The type of the part.
    using type = const logging2::core::DoubleView;
};
/// The width is a number.
template <>
struct std::tuple_element<2, logging2::core::Series> {
    /// The type of the part.
    using type = const std::size_t;
};
