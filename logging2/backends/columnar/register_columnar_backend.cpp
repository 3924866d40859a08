#include <logging2/backends/columnar/register_columnar_backend.hpp>

#include <logging2/backends/columnar/ColumnarStreamReader.hpp>
#include <logging2/backends/columnar/ColumnarStreamWriter.hpp>

#include <memory>
#include <utility>

namespace logging2::core {

BackendRegistrations register_columnar_backend(cppmicroservices::BundleContext context,
                                               const ColumnarOptions& options,
                                               const std::string& name) {
    Backend backend = make_backend<ColumnarStreamWriter, ColumnarStreamReader>(
        {name, "keeps every step in memory, column by column", true, false});
    backend.createWriter = [options](const StreamingAttributes& attributes,
                                     const SequenceMap<Group, LoggedPathsSetupData>& setup) {
        return std::make_unique<ColumnarStreamWriter>(attributes, setup, options);
    };
    return register_backend(std::move(context), backend);
}

} // namespace logging2::core
