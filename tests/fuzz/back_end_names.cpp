#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/logging2.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/fuzz/ScriptedServices.hpp>
#include <tests/fuzz/fuzz_target.hpp>

#include <cctype>
#include <optional>
#include <string>

// Looks up arbitrary names among scripted and built-in services and compares the result with an
// oracle, which says which service is used, if any.
//
// The framework is started once and never stopped, because it could not be started again in this
// process. Each script removes its services at its end.

namespace logging2::core::test {
namespace {

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

    /// New bytes, or a registered name, unchanged or slightly changed.
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
        const auto& backends = builtin_backends();
        if (pick < backends.size()) {
            return backends[pick].name;
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
        const auto& backends = builtin_backends();
        for (std::size_t i = 0; i < backends.size(); ++i) {
            writers.addBuiltin(all[2 * i], backends[i].name);
            readers.addBuiltin(all[2 * i + 1], backends[i].name);
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
