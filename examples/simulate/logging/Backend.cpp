#include <examples/simulate/logging/Backend.hpp>

#include <examples/simulate/HostError.hpp>

#include <new>
#include <stdexcept>

namespace simulate {
namespace {

using logging2::core::StreamReader;
using logging2::core::StreamWriter;

std::string unknown_backend(const std::string& name) {
    std::string names;
    for (const logging2::core::BackendInfo& known :
         logging2::core::registered_backends(foundation::get_global_bundle_context())) {
        names += (names.empty() ? "" : ", ") + known.name;
    }
    return "there is no back-end \"" + name + "\" (the back-ends are: " + names + ")";
}

std::string failed_backend(const Backend& backend, const std::string& reason) {
    return "the back-end \"" + backend.label() + "\" failed: " + reason;
}

/// Names become part of a registry filter, in which some characters have a meaning.
bool is_plain_name(const std::string& name) {
    return !name.empty() && name.find_first_of("*()\\\x7f") == std::string::npos;
}

/// Calls the library and turns what it throws into HostErrors of the back-end.
template <class Function>
auto asking(const Backend& backend, Function function) {
    try {
        return function();
    } catch (const HostError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw HostError(failed_backend(backend, "not enough memory"));
    } catch (const std::exception& error) {
        throw HostError(failed_backend(backend, error.what()));
    }
}

/// What a look-up by name gave, or the error that says why it gave nothing.
template <class Product>
std::unique_ptr<Product> unwrap(const Backend& backend,
                                std::optional<std::unique_ptr<Product>> product,
                                const std::string& what) {
    if (!product) {
        throw HostError(unknown_backend(backend.label()));
    }
    if (!*product) {
        throw HostError(failed_backend(backend, "it created no " + what));
    }
    return std::move(*product);
}

std::string too_many_points(std::size_t pointLimit) {
    return "a point limit of " + std::to_string(pointLimit) + " is too large for the memory";
}

} // namespace

std::unique_ptr<StreamWriter>
Backend::openWriter(const logging2::core::StreamingAttributes& attributes,
                    const Setup& setup) const {
    if (!registeredName) {
        return logging2::core::get_default_stream_writer(attributes, setup);
    }
    if (!is_plain_name(*registeredName)) {
        throw HostError(unknown_backend(*registeredName));
    }
    return asking(*this, [&] {
        try {
            auto writer = logging2::core::get_stream_writer(*registeredName, attributes, setup);
            return unwrap(*this, std::move(writer), "writer");
        } catch (const std::length_error&) {
            throw HostError(failed_backend(*this, too_many_points(attributes.pointLimit)));
        } catch (const std::bad_alloc&) {
            throw HostError(failed_backend(*this, too_many_points(attributes.pointLimit)));
        }
    });
}

std::unique_ptr<StreamReader> Backend::openReader(const boost::any& dataStore) const {
    return asking(*this, [&] {
        if (!registeredName) {
            return logging2::core::get_default_stream_reader(dataStore);
        }
        return unwrap(*this, logging2::core::get_stream_reader(*registeredName, dataStore),
                      "reader");
    });
}

} // namespace simulate
