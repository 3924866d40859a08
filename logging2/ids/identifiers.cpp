#include <logging2/ids/identifiers.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <boost/lexical_cast.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <boost/version.hpp>

#if BOOST_VERSION >= 108600
#error "logging2 needs Boost 1.74 to 1.85: later versions cannot read /dev/urandom"
#endif

namespace logging2::core {

const std::string& datastore_run_id() {
    static const std::string* const id = new std::string("runId");
    return *id;
}

const std::string& datastore_model_id() {
    static const std::string* const id = new std::string("model");
    return *id;
}

fl::filesystem::basic_path<char, char16_t> get_unique_id() {
    // The generator reads "/dev/urandom", because the build defines
    // BOOST_UUID_RANDOM_PROVIDER_FORCE_POSIX.
    static boost::uuids::random_generator_pure generator;
    const auto text = boost::lexical_cast<std::string>(generator());
    return fl::filesystem::detail::make_native_form(
        foundation::local_encoded_string_to_ustring(text));
}

} // namespace logging2::core
