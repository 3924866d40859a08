#pragma once

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/logging2.hpp>

#include <tests/fuzz/ByteScript.hpp>
#include <tests/fuzz/NameOracle.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/support/NullServiceFactory.hpp>
#include <tests/support/setups.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace logging2::core::test {

using cppmicroservices::ServiceProperties;
using cppmicroservices::ServiceRegistrationU;

/// The behaviour of a service when it is used; `none` is a registration without a service object.
enum class Answer { object, null, exception, none };

/// The service that was used last, by the number of its registration.
inline std::optional<std::size_t> used;

template <class Object, class Make>
std::unique_ptr<Object> answer(std::size_t number, Answer what, const Make& make) {
    expect(!used, "a second service is used");
    used = number;
    if (what == Answer::exception) {
        throw std::domain_error("no licence");
    }
    return what == Answer::null ? nullptr : make();
}

/// A back-end whose writers and readers follow the same script.
inline Backend scriptedBackend(std::size_t number, Answer what) {
    return {{"scripted", "", true, false},
            [=](const StreamingAttributes& attributes, const GroupSetup& setup) {
                return answer<StreamWriter>(number, what, [&] {
                    return std::make_unique<MemoryStreamWriter>(attributes, setup);
                });
            },
            [=](const boost::any& dataStore) {
                return answer<StreamReader>(
                    number, what, [&] { return std::make_unique<MemoryStreamReader>(dataStore); });
            }};
}

/// The writers' or the readers' side: how its services are registered and looked up.
struct WriterSide {
    using Interface = StreamWriterService;
    static constexpr std::size_t place = 0; // among the registrations of a back-end
    static std::string key() { return vtllogging_write_type_id(); }
    static auto lookUp(const std::string& name) {
        return get_stream_writer(name, StreamingAttributes{}, scalarSetup());
    }
    static const std::type_info& builtin(std::size_t number) {
        return number == 0   ? typeid(MemoryStreamWriter)
               : number == 1 ? typeid(MemoryStreamRestrictedWriter)
                             : typeid(NativeStreamWriter);
    }
};

struct ReaderSide {
    using Interface = StreamReaderService;
    static constexpr std::size_t place = 1;
    static std::string key() { return vtllogging_read_type_id(); }
    static auto lookUp(const std::string& name) { return get_stream_reader(name, boost::any()); }
    static const std::type_info& builtin(std::size_t number) {
        return number < 2 ? typeid(MemoryStreamReader) : typeid(NativeStreamReader);
    }
};

/// All services of one side, registered and expected.
template <class Side>
class Services {
public:
    ~Services() {
        for (std::size_t number = 0; number < expected.size(); ++number) {
            if (expected[number]) {
                registrations[number].Unregister();
            }
        }
    }

    void add(ByteScript& script, const std::string& name) {
        static constexpr Answer answers[] = {Answer::object, Answer::object, Answer::null,
                                             Answer::exception, Answer::none};
        const std::size_t number = expected.size();
        const Answer what = script.oneOf(answers);
        const NamedService properties = scripted(script, name);
        registrations.push_back(registered(number, what, propertiesOf(properties)));
        expected.push_back(properties);
        answersOf.push_back(what);
    }

    void addBuiltin(const ServiceRegistrationU& registration, const std::string& name) {
        registrations.push_back(registration);
        builtinFrom = builtinFrom.value_or(expected.size());
        expected.push_back(NamedService{name, 0, true});
        answersOf.push_back(Answer::object);
    }

    /// Changes the name, ranking or key of a registered service.
    void change(ByteScript& script, const std::string& name) {
        if (!expected.empty()) {
            const std::size_t number = script.below(expected.size());
            if (expected[number]) {
                expected[number] = scripted(script, name);
                registrations[number].SetProperties(propertiesOf(*expected[number]));
            }
        }
    }

    void remove(ByteScript& script) {
        if (!expected.empty()) {
            const std::size_t number = script.below(expected.size());
            if (expected[number]) {
                expected[number].reset();
                registrations[number].Unregister();
            }
        }
    }

    void lookUp(const std::string& name) const {
        used.reset();
        const NameOracle oracle(name);
        if (oracle.isRefused(expected)) {
            expectThrows<std::invalid_argument>([&] { Side::lookUp(name); }, "malformed ", name);
            return;
        }
        const std::optional<std::size_t> chosen = oracle.chosen(expected);
        if (!chosen || answersOf[*chosen] == Answer::none) {
            expect(!Side::lookUp(name).has_value(), "a service is found by ", name);
        } else if (answersOf[*chosen] == Answer::exception) {
            expectThrows<std::domain_error>([&] { Side::lookUp(name); }, "service found by ", name);
        } else {
            compareObject(Side::lookUp(name), *chosen, name);
            return;
        }
        const bool isUsed = chosen && answersOf[*chosen] == Answer::exception;
        expect(used == (isUsed ? chosen : std::nullopt), "another service is used for ", name);
    }

    const std::vector<std::optional<NamedService>>& all() const { return expected; }

private:
    static NamedService scripted(ByteScript& script, const std::string& name) {
        static constexpr int rankings[] = {0, 0, 1, -1, 7};
        const int ranking = script.oneOf(rankings);
        return {name, ranking, script.below(8) != 7};
    }

    static ServiceProperties propertiesOf(const NamedService& service) {
        ServiceProperties properties;
        properties[service.isNamed ? Side::key() : "another.key"] = service.name;
        properties[cppmicroservices::Constants::SERVICE_RANKING] = service.ranking;
        return properties;
    }

    static ServiceRegistrationU registered(std::size_t number, Answer what,
                                           const ServiceProperties& properties) {
        auto context = foundation::get_global_bundle_context();
        if (what == Answer::none) {
            return context.RegisterService<typename Side::Interface>(
                cppmicroservices::ToFactory(std::make_shared<NullServiceFactory>()), properties);
        }
        BackendRegistrations both = register_backend(context, scriptedBackend(number, what));
        both[1 - Side::place].Unregister();
        both[Side::place].SetProperties(properties);
        return both[Side::place];
    }

    bool isBuiltin(std::size_t number) const {
        const std::size_t count = builtin_backends().size();
        return builtinFrom && number >= *builtinFrom && number < *builtinFrom + count;
    }

    template <class Found>
    void compareObject(const Found& found, std::size_t chosen, const std::string& name) const {
        expect(found.has_value(), "nothing is found by ", name);
        if (isBuiltin(chosen)) {
            expect(!used && *found != nullptr, "no built-in back-end is found by ", name);
            const auto& object = **found;
            expect(typeid(object) == Side::builtin(chosen - *builtinFrom),
                   "another built-in back-end is found by ", name);
            return;
        }
        expect(used == chosen, "another service is used for ", name);
        expectEqual(*found == nullptr, answersOf[chosen] == Answer::null, "null for ", name);
    }

    std::vector<ServiceRegistrationU> registrations;
    std::vector<std::optional<NamedService>> expected;
    std::vector<Answer> answersOf;
    std::optional<std::size_t> builtinFrom;
};

} // namespace logging2::core::test
