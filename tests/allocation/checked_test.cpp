#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>

#include <tests/allocation/subjects.hpp>

#include <stdexcept>

// Checked back-ends while every allocation fails once.

namespace logging2::core::test {
namespace {

class CheckedSweepTest : public ::testing::Test {
protected:
    CheckedSweepTest() {
        foundation::install_and_start_vantrel_core();
        register_builtin_backends(context());
        register_checked_backend(context(), "memory");
        former = foundation::setWarningHandler([](const foundation::Message&) {});
    }
    ~CheckedSweepTest() override {
        foundation::setWarningHandler(former);
        foundation::stop_vantrel_core();
    }

    static cppmicroservices::BundleContext context() {
        return foundation::get_global_bundle_context();
    }

    static std::unique_ptr<StreamWriter> checkedWriter() {
        return get_stream_writer("checked:memory", fullAttributes(), twoGroups()).value();
    }

    foundation::WarningHandler former;
};

TEST_F(CheckedSweepTest, failedRegistrationRegistersNothing) {
    const SweepCounts counts = for_every_failing_allocation(
        [] { return BackendRegistrations(); },
        [](BackendRegistrations& made) { made = register_checked_backend(context(), "native"); },
        [](BackendRegistrations& made, Attempt attempt) {
            EXPECT_EQ(made.empty(), attempt.threw);
            EXPECT_EQ(get_stream_reader("checked:native", boost::any()).has_value(),
                      !attempt.threw);
            for (auto& registration : made) {
                registration.Unregister();
            }
            EXPECT_EQ(registered_backends(context()).size(), 4U);
        });
    EXPECT_LE(counts.absorbed(), 1U);
    print_sweep("register_checked_backend", counts,
                "nothing stays registered; absorbed: the buffer for sorting by ranking");
}

TEST_F(CheckedSweepTest, failedLookUpMakesNoWriter) {
    const SweepCounts counts = for_every_failing_allocation(
        [] { return std::unique_ptr<StreamWriter>(); },
        [](std::unique_ptr<StreamWriter>& made) { made = checkedWriter(); },
        [](std::unique_ptr<StreamWriter>& made, Attempt attempt) {
            EXPECT_EQ(made == nullptr, attempt.threw);
            if (made) {
                write(*made, 1, 1.0, {10.0});
                made->flush();
                EXPECT_EQ(memoryStore(*made, secondGroupPath).values->size(), 1U);
            }
        });
    EXPECT_GT(counts.thrown, 30U);
    print_sweep("get_stream_writer \"checked:memory\"", counts,
                "no writer; absorbed: the buffer for sorting by ranking");
}

TEST_F(CheckedSweepTest, refusedCallThrowsItsErrorOrBadAlloc) {
    const SweepCounts counts =
        for_every_failing_allocation([] { return checkedWriter(); },
                                     [](std::unique_ptr<StreamWriter>& writer) {
                                         try {
                                             write(*writer, 2, 1.0, {10.0});
                                             ADD_FAILURE() << "the write was accepted";
                                         } catch (const std::logic_error&) {
                                         }
                                     },
                                     [](std::unique_ptr<StreamWriter>& writer, Attempt) {
                                         write(*writer, 1, 1.0, {10.0});
                                         writer->flush();
                                     });
    EXPECT_GT(counts.thrown, 3U);
    print_sweep("CheckedStreamWriter: write, unknown group", counts, "else std::logic_error");
}

TEST_F(CheckedSweepTest, flushingDestructorNeverThrows) {
    const SweepCounts counts = for_every_failing_allocation(
        [] {
            auto writer = checkedWriter();
            write(*writer, 1, 1.0, {10.0});
            return writer;
        },
        [](std::unique_ptr<StreamWriter>& writer) { writer.reset(); },
        [](std::unique_ptr<StreamWriter>&, Attempt) {});
    EXPECT_EQ(counts.thrown, 0U);
    EXPECT_GT(counts.failed, 10U);
    print_sweep("CheckedStreamWriter: destructor of a stream that was not flushed", counts,
                "absorbed: the warning or the flush");
}

} // namespace
} // namespace logging2::core::test
