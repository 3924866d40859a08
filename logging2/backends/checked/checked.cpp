#include <logging2/backends/checked/checked.hpp>

#include <logging2/backends/checked/detail/CheckedStreamWriter.hpp>
#include <logging2/backends/checked/detail/wording.hpp>
#include <logging2/lookup/entry_points.hpp>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace logging2::core {
namespace {

using detail::CheckedRules;
using detail::in_quotes;

constexpr std::string_view prefix = "checked:";

BackendInfo find_backend(const cppmicroservices::BundleContext& context, const std::string& name) {
    const std::vector<BackendInfo> backends = registered_backends(context);
    const auto found = std::find_if(backends.begin(), backends.end(),
                                    [&](const BackendInfo& info) { return info.name == name; });
    if (found != backends.end()) {
        return *found;
    }
    std::vector<std::string> names;
    names.reserve(backends.size());
    for (const BackendInfo& info : backends) {
        names.push_back(in_quotes(info.name));
    }
    throw std::invalid_argument("register_checked_backend: there is no back-end " +
                                in_quotes(name) + " (" + detail::listing("back-end", names) + ')');
}

/// Returns the name of the back-end that stores the samples, without the checks around it.
std::string storing_backend(std::string name) {
    while (name.rfind(prefix, 0) == 0) {
        name.erase(0, prefix.size());
    }
    return name;
}

CheckedRules rules_of(const BackendInfo& inner, const CheckedOptions& options) {
    const std::string storing = storing_backend(inner.name);
    const bool isMemory = storing == "memory" || storing == "memory-restricted";
    const bool isNative = storing == "native";
    return {inner.name, options.groupIdsAreIndices.value_or(isMemory),
            options.channelsAreUnique.value_or(isNative), options.closeFlushes.value_or(isMemory),
            options.refuseUnsupportedRollback && !inner.supportsRollback};
}

BackendInfo checked_info(const BackendInfo& inner) {
    const std::string separator = inner.description.empty() ? "" : "; ";
    return {std::string(prefix) + inner.name, inner.description + separator + "checks every call",
            inner.supportsRollback, inner.isPersistent};
}

/// Returns the writer or reader that the look-up has found. It is null if the back-end created
/// none.
template <class Product>
std::unique_ptr<Product> found_of(std::optional<std::unique_ptr<Product>> product,
                                  const std::string& name) {
    if (!product) {
        throw std::runtime_error("the back-end " + in_quotes("checked:" + name) +
                                 " needs the back-end " + in_quotes(name) +
                                 ", which is not registered in the host's service framework");
    }
    return std::move(*product);
}

std::unique_ptr<StreamWriter>
make_checked_writer(const CheckedRules& rules, const StreamingAttributes& attributes,
                    const SequenceMap<Group, LoggedPathsSetupData>& setup) {
    detail::CheckedSetup checkedSetup(setup, rules);
    auto inner = found_of(get_stream_writer(rules.backend, attributes, setup), rules.backend);
    if (!inner) {
        return nullptr;
    }
    return std::make_unique<detail::CheckedStreamWriter>(
        std::move(inner), std::move(checkedSetup), rules,
        std::string(attributes.name.data(), attributes.name.size()));
}

} // namespace

BackendRegistrations register_checked_backend(cppmicroservices::BundleContext context,
                                              const std::string& name,
                                              const CheckedOptions& options) {
    const BackendInfo inner = find_backend(context, name);
    const CheckedRules rules = rules_of(inner, options);
    const auto createWriter = [rules](const StreamingAttributes& attributes,
                                      const SequenceMap<Group, LoggedPathsSetupData>& setup) {
        return make_checked_writer(rules, attributes, setup);
    };
    const auto createReader = [name](const boost::any& dataStore) {
        return found_of(get_stream_reader(name, dataStore), name);
    };
    return register_backend(std::move(context), {checked_info(inner), createWriter, createReader});
}

} // namespace logging2::core
