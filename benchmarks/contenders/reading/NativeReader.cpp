#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/reading/ValuesFile.hpp>

#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/logging2.hpp>

namespace logging2::core::bench {
namespace {

/// The library's reader on a store without times, so that it reads what the others read.
class NativeReader : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void run() override { values = reader.timeseries().second; }

private:
    NativeStreamReader reader{
        boost::any(NativeDatastore(u"", foundation::utf8_string_to_ustring(path.string())))};
};

} // namespace

std::unique_ptr<Contender> make_native_reader(const Rows& rows,
                                              const std::filesystem::path& directory) {
    return std::make_unique<NativeReader>(rows, directory);
}

} // namespace logging2::core::bench
