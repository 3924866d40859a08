#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/reading/ValuesFile.hpp>

#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/logging2.hpp>

namespace logging2::core::bench {
namespace {

/// The library's reader with a store that has no times, so that it reads the same as the others.
class NativeReader : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void run() override { values = reader.timeseries().second; }

private:
    NativeStreamReader reader{
        boost::any(NativeDatastore(u"", foundation::utf8_string_to_ustring(path.string())))};
};

[[maybe_unused]] const bool added = add_contender<NativeReader>("native-reader", Suits::reading);

} // namespace
} // namespace logging2::core::bench
