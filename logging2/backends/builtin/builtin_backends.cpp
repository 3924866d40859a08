#include <logging2/backends/builtin/builtin_backends.hpp>

#include <logging2/memory/MemoryStreamReader.hpp>
#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>
#include <logging2/native/NativeStreamReader.hpp>
#include <logging2/native/NativeStreamWriter.hpp>

#include <utility>

namespace logging2::core {

const std::vector<Backend>& builtin_backends() {
    // Never destroyed, because a host may call this during process shutdown.
    static const auto* const backends = new std::vector<Backend>{
        make_backend<MemoryStreamWriter, MemoryStreamReader>(
            {"memory", "keeps every step in memory", true, false}),
        make_backend<MemoryStreamRestrictedWriter, MemoryStreamReader>(
            {"memory-restricted", "keeps the most recent steps of each group in memory", true,
             false}),
        make_backend<NativeStreamWriter, NativeStreamReader>(
            {"native", "streams to temporary files, which readers delete; keeps rejected steps",
             false, false})};
    return *backends;
}

BackendRegistrations register_builtin_backends(cppmicroservices::BundleContext context) {
    return register_backends(std::move(context), builtin_backends());
}

} // namespace logging2::core
