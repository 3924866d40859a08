#include <logging2/backends/builtin/builtin_backends.hpp>

#include <tests/allocation/native_subjects.hpp>
#include <tests/support/registrations.hpp>

#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/ServiceFactory.h>

#include <stdexcept>

// The look-up of back-ends by name, and their registration, while every allocation fails once.

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;

/// The built-in back-ends are registered in the process's framework.
class ServicesSweepTest : public NativeSweepTest {
protected:
    ServicesSweepTest() {
        foundation::install_and_start_vantrel_core();
        registrations = register_builtin_backends(context());
    }
    ~ServicesSweepTest() override { unregister(registrations); }

    static cppmicroservices::BundleContext context() {
        return foundation::get_global_bundle_context();
    }

    BackendRegistrations registrations;
};

struct WriterLookUp {
    StreamingAttributes attributes = fullAttributes();
    GroupSetup setup = twoGroups();
    std::optional<std::unique_ptr<StreamWriter>> found;
};

TEST_F(ServicesSweepTest, failedLookUpMakesNoWriter) {
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
        print_sweep(
            "get_stream_writer \"" + name + "\"", counts,
            "no writer; absorbed: the buffer for sorting by ranking, the host's directory name");
    }
}

TEST_F(ServicesSweepTest, failedLookUpMakesNoReader) {
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
                    "no reader; absorbed: the buffer for sorting by ranking");
    }
}

TEST_F(ServicesSweepTest, unknownNameFindsNothing) {
    expect_every_failure_propagates(
        "get_stream_writer, unknown name", "the next call finds nothing",
        [] { return WriterLookUp(); },
        [](WriterLookUp& subject) {
            subject.found = get_stream_writer("none", subject.attributes, subject.setup);
        },
        [](WriterLookUp& subject, Attempt) { EXPECT_FALSE(subject.found.has_value()); });
}

/// Expects the operation to throw its error in every run without a failing allocation.
template <class Error, class Act>
void expect_refusal(const std::string& operation, const std::string& outcome, Act act) {
    const auto actAndExpectError = [&](int) {
        try {
            act();
            ADD_FAILURE() << "the operation did not throw";
        } catch (const Error&) {
        }
    };
    const SweepCounts counts =
        for_every_failing_allocation([] { return 0; }, actAndExpectError, [](int, Attempt) {});
    EXPECT_GT(counts.thrown, 2U);
    print_sweep(operation, counts, outcome);
}

TEST_F(ServicesSweepTest, malformedNameThrowsItsErrorOrBadAlloc) {
    expect_refusal<std::invalid_argument>("get_stream_reader, malformed name",
                                          "else std::invalid_argument",
                                          [] { get_stream_reader("a)b", boost::any()); });
}

/// Owns a framework, so that its registrations end with it.
struct RegistrationRun {
    RegistrationRun() { framework.Start(); }

    std::size_t serviceCount() {
        return framework.GetBundleContext().GetServiceReferences("").size();
    }

    cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
    BackendRegistrations registrations;
};

/// Expects the operation to register two services for each back-end, or none at all.
template <class Register>
void expect_all_or_none(const std::string& operation, std::size_t backendCount, Register act) {
    expect_every_failure_propagates(
        operation, "nothing is registered; the next call registers everything",
        [] { return std::make_unique<RegistrationRun>(); },
        [&](std::unique_ptr<RegistrationRun>& run) {
            run->registrations = act(run->framework.GetBundleContext());
        },
        [&](std::unique_ptr<RegistrationRun>& run, Attempt attempt) {
            EXPECT_EQ(run->serviceCount(), attempt.threw ? 0 : 2 * backendCount);
            if (attempt.threw) {
                run->registrations = act(run->framework.GetBundleContext());
            }
            EXPECT_EQ(run->registrations.size(), 2 * backendCount);
            EXPECT_EQ(run->serviceCount(), 2 * backendCount);
        });
}

TEST_F(ServicesSweepTest, failedRegistrationLeavesNothingRegistered) {
    expect_all_or_none("register_backend", 1, [](cppmicroservices::BundleContext context) {
        return register_backend(std::move(context), builtin_backends().front());
    });
    expect_all_or_none("register_backends", 3, [](cppmicroservices::BundleContext context) {
        return register_backends(std::move(context), builtin_backends());
    });
    expect_all_or_none("register_builtin_backends", 3, register_builtin_backends);
    expect_all_or_none("load_backends", 2, [](cppmicroservices::BundleContext context) {
        return load_backends(LOGGING2_TEST_MODULES "/two_backends.so", std::move(context));
    });
}

TEST_F(ServicesSweepTest, badBackendThrowsItsErrorOrBadAlloc) {
    const std::size_t formerCount = context().GetServiceReferences("").size();
    std::vector<Backend> backends = builtin_backends();
    backends.back().name = "a*b";
    expect_refusal<std::invalid_argument>("register_backends, malformed name",
                                          "nothing is registered, else std::invalid_argument",
                                          [&] { register_backends(context(), backends); });
    EXPECT_EQ(context().GetServiceReferences("").size(), formerCount);
}

TEST_F(ServicesSweepTest, badLibraryThrowsItsErrorOrBadAlloc) {
    expect_refusal<std::runtime_error>("load_backends, no file", "else std::runtime_error",
                                       [] { load_backends("/nowhere/absent.so", context()); });
    expect_refusal<std::runtime_error>("load_backends, no function", "else std::runtime_error", [] {
        load_backends(LOGGING2_TEST_MODULES "/no_function.so", context());
    });
}

TEST_F(ServicesSweepTest, listingIsCompleteOrThrows) {
    const SweepCounts counts = for_every_failing_allocation(
        [] { return std::vector<BackendInfo>(); },
        [](std::vector<BackendInfo>& backends) { backends = registered_backends(context()); },
        [](std::vector<BackendInfo>& backends, Attempt attempt) {
            EXPECT_EQ(backends.size(), attempt.threw ? 0U : 3U);
        });
    EXPECT_GT(counts.thrown, 10U);
    print_sweep("registered_backends", counts,
                "no list; absorbed: the buffer for sorting by ranking");
}

/// Returns an existing service.
class ExistingServiceFactory final : public cppmicroservices::ServiceFactory {
public:
    explicit ExistingServiceFactory(std::shared_ptr<StreamWriterService> given)
        : service(std::move(given)) {}

    cppmicroservices::InterfaceMapConstPtr
    GetService(const cppmicroservices::Bundle&,
               const cppmicroservices::ServiceRegistrationBase&) override {
        return cppmicroservices::MakeInterfaceMap<StreamWriterService>(service);
    }

    void UngetService(const cppmicroservices::Bundle&,
                      const cppmicroservices::ServiceRegistrationBase&,
                      const cppmicroservices::InterfaceMapConstPtr&) override {}

private:
    std::shared_ptr<StreamWriterService> service;
};

// The registry does not let the errors of a factory propagate, including this one.
TEST_F(ServicesSweepTest, failureInsideAFactoryYieldsNoService) {
    ServiceProperties properties;
    properties[vtllogging_write_type_id()] = std::string("made");
    const auto service =
        context().GetService(context().GetServiceReferences<StreamWriterService>().front());
    registrations.push_back(context().RegisterService<StreamWriterService>(
        cppmicroservices::ToFactory(std::make_shared<ExistingServiceFactory>(service)),
        properties));
    std::size_t notFound = 0;
    const SweepCounts counts = for_every_failing_allocation(
        [] { return WriterLookUp(); },
        [](WriterLookUp& subject) {
            subject.found = get_stream_writer("made", subject.attributes, subject.setup);
        },
        [&](WriterLookUp& subject, Attempt attempt) {
            EXPECT_TRUE(subject.found.has_value() || attempt.failed);
            notFound += !subject.found && !attempt.threw ? 1 : 0;
            // The registry keeps what the factory made until it has been used.
            EXPECT_TRUE(get_stream_writer("made", subject.attributes, subject.setup).has_value());
        });
    EXPECT_GE(notFound, 3U);
    EXPECT_LE(counts.absorbed() - notFound, 1U);
    print_sweep("get_stream_writer, service made by a factory", counts,
                "no writer; absorbed: a failure of the factory is reported as an event and no "
                "service is found");
}

} // namespace
} // namespace logging2::core::test
