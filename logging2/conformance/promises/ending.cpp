#include <logging2/conformance/detail/Promise.hpp>

#include <filesystem>

// The promises of flush, close and the stores, and about files that remain.

namespace logging2::core::conformance {
namespace {

using test::write;

bool closeFlushes(const Subject& subject) {
    return subject.supports.closeFlushes;
}

bool hasInfo(const Subject& subject) {
    return subject.supports.dataStoreInfo;
}

bool hasNoInfo(const Subject& subject) {
    return !subject.supports.dataStoreInfo;
}

bool isTemporary(const Subject& subject) {
    return !subject.info.isPersistent;
}

std::size_t file_count(const std::filesystem::path& directory) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        count += entry.is_directory() ? 0 : 1;
    }
    return count;
}

const Promise table[] = {
    {"flushIntermediateNeitherLosesNorRepeatsSamples", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2));
         writer->flushIntermediate();
         write(*writer, 0, 1.0, {10.0});
         writer->flushIntermediate();
         writer->flushIntermediate();
         write(*writer, 0, 2.0, {20.0});
         write(*writer, 1, 3.0, {30.0});
         writer->flushIntermediate();
         write(*writer, 0, 4.0, {40.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {1.0, 2.0, 4.0}, {10.0, 20.0, 40.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x1"), {3.0}, {30.0}));
     }},
    {"closeAfterFlushChangesNothing", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->flush();
         writer->close();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0}, {1.0, 2.0}));
     }},
    {"closeWithoutFlushMakesTheSamplesFinal", closeFlushes,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->close();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0}, {1.0, 2.0}));
     }},
    {"dataStoreInfoIsEmpty", hasNoInfo,
     [](Session& session) {
         const auto writer = session.writer();
         EXPECT_FALSE(writer->dataStoreInfo().has_value());
         writer->flush();
         EXPECT_FALSE(writer->dataStoreInfo().has_value());
     }},
    {"dataStoreInfoHasAValueAfterTheFlush", hasInfo,
     [](Session& session) {
         const auto writer = session.writer();
         writer->flush();
         EXPECT_TRUE(writer->dataStoreInfo().has_value());
     }},
    {"dataStoreMayBeCalledRepeatedly", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
     }},
    {"unflushedSamplesDoNotAppearInAnotherWriter", everyBackend,
     [](Session& session) {
         write_calls(*session.writer(), 0, {1.0, 2.0});
         const auto writer = session.writer();
         write_calls(*writer, 0, {3.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {3.0}, {1.0}));
     }},
    {"noFileRemainsAfterEveryPathWasRead", isTemporary,
     [](Session& session) {
         {
             const auto writer = session.writer(scalar_groups(2));
             write_calls(*writer, 0, {1.0, 2.0});
             write_calls(*writer, 1, {3.0});
             writer->flush();
             session.read(*writer, "x0");
             session.read(*writer, "x1");
         }
         session.closeReaders();
         EXPECT_EQ(file_count(session.temporaryDirectory()), 0U);
     }},
};

} // namespace

std::vector<Promise> ending_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
