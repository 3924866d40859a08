#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace logging2::python {

/// The values of a step as doubles. Needs the interpreter's lock, but not to read the doubles.
class Row {
public:
    /// Throws an error of Python if the values lose something as doubles. Only integers beyond
    /// 2^53 are rounded to the nearest double.
    explicit Row(const pybind11::object& values);

    const double* data() const { return array ? array->data() : copies.data(); }
    std::size_t size() const {
        return array ? static_cast<std::size_t>(array->size()) : copies.size();
    }

private:
    using Doubles =
        pybind11::array_t<double,
                          static_cast<int>(pybind11::array::c_style) |
                              static_cast<int>(pybind11::detail::npy_api::NPY_ARRAY_ALIGNED_)>;

    bool copyNumbers(pybind11::handle values);

    std::vector<double> copies;   ///< of a list or tuple that holds only numbers of Python
    std::optional<Doubles> array; ///< of everything else
};

} // namespace logging2::python
