#include <logging2/backends/builtin/builtin_backends.hpp>

#include <tests/allocation/native_subjects.hpp>

#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/ServiceFactory.h>

#include <stdexcept>

// The look-up of back-ends by name, and their registration, while every allocation fails once.

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;
using cppmicroservices::ServiceRegistrationU;

/// The built-in back-ends are offered in the process's framework.
class ServicesSweepTest : public NativeSweepTest {
protected:
    ServicesSweepTest() {
        foundation::install_and_start_vantrel_core();
        registrations = register_builtin_backends(context());
    }
    ~ServicesSweepTest() override {
        for (ServiceRegistrationU& registration : registrations) {
            registration.Unregister();
        }
    }

    static cppmicroservices::BundleContext context() {
        return foundation::get_global_bundle_context();
    }

    std::vector<ServiceRegistrationU> registrations;
};

struct WriterLookUp {
    StreamingAttributes attributes = fullAttributes();
    GroupSetup setup = twoGroups();
    std::optional<std::unique_ptr<StreamWriter>> found;
};

TEST_F(ServicesSweepTest, writerByNameIsWholeOrNotThere) {
    for (const BackendInfo& backend : builtin_backends()) {
        const std::string& name = backend.name;
        const auto lookUp = [&name](WriterLookUp& subject) {
            subject.found = get_stream_writer(name, subject.attributes, subject.setup);
        };
        const SweepCounts counts = for_every_failing_allocation(
            [] { return WriterLookUp(); }, lookUp,
            [&](WriterLookUp& subject, Attempt attempt) {
                EXPECT_NE(subject.found.has_value(), attempt.threw);
                if (attempt.threw) {
                    lookUp(subject);
                }
                write(**subject.found, 1, 1.0, {10.0});
                (*subject.found)->flush();
                EXPECT_FALSE((*subject.found)->dataStore(ValuePath(secondGroupPath)).empty());
            });
        EXPECT_GT(counts.thrown, 20U);
        print_sweep("get_stream_writer \"" + name + "\"", counts,
                    "no writer; absorbed: room to sort by ranking, the host's directory name");
    }
}

TEST_F(ServicesSweepTest, readerByNameIsWholeOrNotThere) {
    using Found = std::optional<std::unique_ptr<StreamReader>>;
    for (const BackendInfo& backend : builtin_backends()) {
        const std::string& name = backend.name;
        const SweepCounts counts = for_every_failing_allocation(
            [] { return Found(); },
            [&](Found& found) { found = get_stream_reader(name, boost::any()); },
            [&](Found& found, Attempt attempt) {
                EXPECT_NE(found.has_value(), attempt.threw);
                EXPECT_TRUE(!found || (*found)->times().empty());
            });
        EXPECT_GT(counts.thrown, 10U);
        print_sweep("get_stream_reader \"" + name + "\"", counts,
                    "no reader; absorbed: room to sort by ranking");
    }
}

TEST_F(ServicesSweepTest, nameWithoutAServiceFindsNothing) {
    expect_every_failure_comes_out(
        "get_stream_writer, unknown name", "the next call finds nothing",
        [] { return WriterLookUp(); },
        [](WriterLookUp& subject) {
            subject.found = get_stream_writer("none", subject.attributes, subject.setup);
        },
        [](WriterLookUp& subject, Attempt) { EXPECT_FALSE(subject.found.has_value()); });
}

TEST_F(ServicesSweepTest, nameThatBreaksTheFilterIsRefusedOrTheFailureComesOut) {
    const SweepCounts counts =
        for_every_failing_allocation([] { return 0; },
                                     [](int) {
                                         try {
                                             get_stream_reader("a)b", boost::any());
                                             ADD_FAILURE() << "accepted";
                                         } catch (const std::invalid_argument&) {
                                         }
                                     },
                                     [](int, Attempt) {});
    EXPECT_GT(counts.thrown, 5U);
    print_sweep("get_stream_reader, malformed name", counts, "else std::invalid_argument");
}

/// A framework of its own, so that what was registered goes with it.
struct RegistrationRun {
    RegistrationRun() { framework.Start(); }

    std::size_t serviceCount() {
        return framework.GetBundleContext().GetServiceReferences("").size();
    }

    cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
    std::vector<ServiceRegistrationU> registrations;
};

TEST_F(ServicesSweepTest, registrationThatFailsHalfWayKeepsWhatWasRegistered) {
    std::size_t formerCount = 0;
    expect_every_failure_comes_out(
        "register_builtin_backends", "what was registered stays; the framework stops and frees it",
        [] { return std::make_unique<RegistrationRun>(); },
        [](std::unique_ptr<RegistrationRun>& run) {
            run->registrations = register_builtin_backends(run->framework.GetBundleContext());
        },
        [&](std::unique_ptr<RegistrationRun>& run, Attempt attempt) {
            const std::size_t count = run->serviceCount();
            EXPECT_EQ(count == 6 && run->registrations.size() == 6, !attempt.threw);
            EXPECT_TRUE(count >= formerCount || attempt.before == 0);
            formerCount = attempt.failed ? count : 0;
            register_builtin_backends(run->framework.GetBundleContext());
            EXPECT_EQ(run->serviceCount(), count + 6);
        });
}

class MemoryService final : public StreamWriterService {
    std::unique_ptr<StreamWriter>
    createStreamWriter(const StreamingAttributes& attributes,
                       const SequenceMap<Group, LoggedPathsSetupData>& setup) override {
        return get_default_stream_writer(attributes, setup);
    }
};

class MakesMemoryServices final : public cppmicroservices::ServiceFactory {
    cppmicroservices::InterfaceMapConstPtr
    GetService(const cppmicroservices::Bundle&,
               const cppmicroservices::ServiceRegistrationBase&) override {
        return cppmicroservices::MakeInterfaceMap<StreamWriterService>(
            std::make_shared<MemoryService>());
    }

    void UngetService(const cppmicroservices::Bundle&,
                      const cppmicroservices::ServiceRegistrationBase&,
                      const cppmicroservices::InterfaceMapConstPtr&) override {}
};

// The registry keeps the errors of a factory to itself, also this one.
TEST_F(ServicesSweepTest, failureInsideAFactoryMeansThatThereIsNoService) {
    ServiceProperties properties;
    properties[vtllogging_write_type_id()] = std::string("made");
    registrations.push_back(context().RegisterService<StreamWriterService>(
        cppmicroservices::ToFactory(std::make_shared<MakesMemoryServices>()), properties));
    std::size_t notFound = 0;
    const SweepCounts counts = for_every_failing_allocation(
        [] { return WriterLookUp(); },
        [](WriterLookUp& subject) {
            subject.found = get_stream_writer("made", subject.attributes, subject.setup);
        },
        [&](WriterLookUp& subject, Attempt attempt) {
            EXPECT_TRUE(subject.found.has_value() || attempt.failed);
            notFound += !subject.found && !attempt.threw ? 1 : 0;
            // What the factory made stays with it until it has been used.
            EXPECT_TRUE(get_stream_writer("made", subject.attributes, subject.setup).has_value());
        });
    EXPECT_GE(notFound, 3U);
    EXPECT_LE(counts.absorbed() - notFound, 1U);
    print_sweep("get_stream_writer, service made by a factory", counts,
                "no writer; absorbed: the factory's failures are an event, the name finds nothing");
}

} // namespace
} // namespace logging2::core::test
