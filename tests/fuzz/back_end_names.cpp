#include <backends/builtin/builtin_backends.hpp>
#include <logging2/logging2.hpp>

#include <tests/fuzz/NameOracle.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/support/SystemTempDirectory.hpp>
#include <tests/support/setups.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/ServiceFactory.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <cctype>
#include <memory>
#include <optional>
#include <stdexcept>
#include <typeinfo>

// Arbitrary names through the look-up, with scripted services and the built-in ones registered,
// compared with an oracle that says which service is asked, if any.
//
// The framework is started once and never stopped: it would stay stopped in this process. Each
// script takes its services away at its end.

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;
using cppmicroservices::ServiceRegistrationU;

/// What a service does when it is asked; `none` is a registration that yields no service.
enum class Answer { object, null, exception, none };

/// The service that was asked last, by the number of its registration.
std::optional<std::size_t> asked;

template <class Object, class Make>
std::unique_ptr<Object> answer(std::size_t number, Answer what, const Make& make) {
    expect(!asked, "a second service is asked");
    asked = number;
    if (what == Answer::exception) {
        throw std::domain_error("no licence");
    }
    return what == Answer::null ? nullptr : make();
}

class ScriptedWriterService final : public StreamWriterService {
public:
    ScriptedWriterService(std::size_t number, Answer answer) : id(number), what(answer) {}

    std::unique_ptr<StreamWriter> createStreamWriter(const StreamingAttributes& attributes,
                                                     const GroupSetup& setup) override {
        return answer<StreamWriter>(
            id, what, [&] { return std::make_unique<MemoryStreamWriter>(attributes, setup); });
    }

private:
    std::size_t id;
    Answer what;
};

class ScriptedReaderService final : public StreamReaderService {
public:
    ScriptedReaderService(std::size_t number, Answer answer) : id(number), what(answer) {}

    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        return answer<StreamReader>(
            id, what, [&] { return std::make_unique<MemoryStreamReader>(dataStore); });
    }

private:
    std::size_t id;
    Answer what;
};

class NoService final : public cppmicroservices::ServiceFactory {
public:
    cppmicroservices::InterfaceMapConstPtr
    GetService(const cppmicroservices::Bundle&,
               const cppmicroservices::ServiceRegistrationBase&) override {
        return nullptr;
    }
    void UngetService(const cppmicroservices::Bundle&,
                      const cppmicroservices::ServiceRegistrationBase&,
                      const cppmicroservices::InterfaceMapConstPtr&) override {}
};

/// Writers or readers: how they are registered, and how they are asked for.
struct WriterSide {
    using Interface = StreamWriterService;
    using Service = ScriptedWriterService;
    static std::string key() { return vtllogging_write_type_id(); }
    static auto ask(const std::string& name) {
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
    using Service = ScriptedReaderService;
    static std::string key() { return vtllogging_read_type_id(); }
    static auto ask(const std::string& name) { return get_stream_reader(name, boost::any()); }
    static const std::type_info& builtin(std::size_t number) {
        return number < 2 ? typeid(MemoryStreamReader) : typeid(NativeStreamReader);
    }
};

/// All services of one side, as they were registered and as they are expected.
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

    /// Another name, ranking or key for a service that stays registered.
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
        asked.reset();
        const NameOracle oracle(name);
        if (oracle.isRefused(expected)) {
            expectThrows<std::invalid_argument>([&] { Side::ask(name); }, "malformed ", name);
            return;
        }
        const std::optional<std::size_t> chosen = oracle.chosen(expected);
        if (!chosen || answersOf[*chosen] == Answer::none) {
            expect(!Side::ask(name).has_value(), "something is found by ", name);
        } else if (answersOf[*chosen] == Answer::exception) {
            expectThrows<std::domain_error>([&] { Side::ask(name); }, "service found by ", name);
        } else {
            compareObject(Side::ask(name), *chosen, name);
            return;
        }
        const bool isAsked = chosen && answersOf[*chosen] == Answer::exception;
        expect(asked == (isAsked ? chosen : std::nullopt), "another service is asked for ", name);
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
        using Interface = typename Side::Interface;
        if (what == Answer::none) {
            return context.RegisterService<Interface>(
                cppmicroservices::ToFactory(std::make_shared<NoService>()), properties);
        }
        return context.RegisterService<Interface>(
            std::make_shared<typename Side::Service>(number, what), properties);
    }

    bool isBuiltin(std::size_t number) const {
        const std::size_t count = builtin_backend_names().size();
        return builtinFrom && number >= *builtinFrom && number < *builtinFrom + count;
    }

    template <class Found>
    void compareObject(const Found& found, std::size_t chosen, const std::string& name) const {
        expect(found.has_value(), "nothing is found by ", name);
        if (isBuiltin(chosen)) {
            expect(!asked && *found != nullptr, "no built-in back-end is found by ", name);
            const auto& object = **found;
            expect(typeid(object) == Side::builtin(chosen - *builtinFrom),
                   "another built-in back-end is found by ", name);
            return;
        }
        expect(asked == chosen, "another service is asked for ", name);
        expectEqual(*found == nullptr, answersOf[chosen] == Answer::null, "null for ", name);
    }

    std::vector<ServiceRegistrationU> registrations;
    std::vector<std::optional<NamedService>> expected;
    std::vector<Answer> answersOf;
    std::optional<std::size_t> builtinFrom;
};

class NamesScript {
public:
    explicit NamesScript(ByteScript& bytes) : script(bytes) {
        foundation::install_and_start_vantrel_core();
    }

    void run() {
        while (!script.atEnd() && operationsLeft-- > 0) {
            if (script.flag()) {
                step(writers);
            } else {
                step(readers);
            }
        }
    }

private:
    template <class Side>
    void step(Services<Side>& services) {
        switch (script.below(10)) {
        case 0:
        case 1:
            if (services.all().size() < 10) {
                services.add(script, scriptedName());
            }
            break;
        case 2:
            services.change(script, scriptedName());
            break;
        case 3:
            services.remove(script);
            break;
        case 4:
            addBuiltins();
            break;
        default:
            services.lookUp(scriptedName());
        }
    }

    /// Fresh bytes, or a name that is registered, as it is or a little changed.
    std::string scriptedName() {
        const std::string former = formerName();
        const std::size_t place = former.empty() ? 0 : script.below(former.size());
        std::string name = former;
        switch (script.below(8)) {
        case 0:
        case 1:
            return script.text(16);
        case 2:
            return name.insert(place, 1, '\\');
        case 3:
            return name.replace(place, script.below(3), "*");
        case 4:
            return name.insert(place, script.text(4));
        case 5:
            if (!name.empty()) {
                name[place] = withOtherCase(name[place]);
            }
            return name;
        default:
            return name;
        }
    }

    std::string formerName() {
        const std::size_t pick = script.below(16);
        const auto& names = builtin_backend_names();
        if (pick < names.size()) {
            return names[pick];
        }
        const auto& services = pick % 2 == 0 ? writers.all() : readers.all();
        return pick < services.size() && services[pick] ? services[pick]->name : "plain";
    }

    static char withOtherCase(char letter) {
        const auto code = static_cast<unsigned char>(letter);
        return static_cast<char>(std::islower(code) != 0 ? std::toupper(code) : std::tolower(code));
    }

    void addBuiltins() {
        if (directory) {
            return;
        }
        directory.emplace();
        const auto all = register_builtin_backends(foundation::get_global_bundle_context());
        const auto& names = builtin_backend_names();
        for (std::size_t i = 0; i < names.size(); ++i) {
            writers.addBuiltin(all[2 * i], names[i]);
            readers.addBuiltin(all[2 * i + 1], names[i]);
        }
    }

    ByteScript& script;
    std::optional<SystemTempDirectory> directory; // for the writer that names files
    Services<WriterSide> writers;
    Services<ReaderSide> readers;
    std::size_t operationsLeft = 60;
};

} // namespace

void runScript(ByteScript& script) {
    NamesScript(script).run();
}

} // namespace logging2::core::test
