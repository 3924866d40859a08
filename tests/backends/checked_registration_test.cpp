#include <tests/backends/checked_backends.hpp>

// How checked back-ends are registered, described and found.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The instances for the parameterized tests of all files.
INSTANTIATE_TEST_SUITE_P(Builtin, CheckedBackendTest,
                         ::testing::Values("memory", "memory-restricted", "native"),
                         [](const auto& tested) {
                             return tested.param == "memory-restricted" ? "restricted"
                                                                        : tested.param;
                         });

class CheckedRegistrationTest : public CheckedBackendsTest {
protected:
    static BackendInfo info_of(const std::string& name) {
        for (const BackendInfo& info : registered_backends(context())) {
            if (info.name == name) {
                return info;
            }
        }
        return {};
    }
};

std::string refusal(const cppmicroservices::BundleContext& context, const std::string& name) {
    try {
        register_checked_backend(context, name);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return noError;
}

TEST_P(CheckedBackendTest, isFoundByItsName) {
    const auto found = get_stream_writer(checkedName(), {}, scalarSetup());
    ASSERT_TRUE(found.has_value());
    (*found)->flush();
    EXPECT_THAT(reader(checkedName(), boost::any())->times(), IsEmpty());
}

TEST_P(CheckedBackendTest, storesAreReadableByTheInnerBackend) {
    const auto target = checkedWriter();
    target->write(0, 1.0, row, 3);
    target->flush();
    EXPECT_THAT(reader(GetParam(), target->dataStore(ValuePath("a")))->times(), ElementsAre(1.0));
}

TEST_P(CheckedBackendTest, storeOfAnotherBackendIsRefused) {
    EXPECT_THROW(reader(checkedName(), boost::any(1)), boost::bad_any_cast);
}

TEST_F(CheckedRegistrationTest, descriptionAndFlagsComeFromTheInnerBackend) {
    registerWithChecks(double_backend(std::make_shared<Script>()));
    const BackendInfo memory = info_of("checked:memory");
    EXPECT_EQ(memory.description, "keeps every step in memory; checks every call");
    EXPECT_TRUE(memory.supportsRollback);
    EXPECT_FALSE(memory.isPersistent);
    const BackendInfo plain = info_of("checked:double");
    EXPECT_EQ(plain.description, "checks every call");
    EXPECT_FALSE(plain.supportsRollback);
    EXPECT_TRUE(plain.isPersistent);
}

TEST_F(CheckedRegistrationTest, unknownInnerNameIsRefused) {
    unregister();
    keep(register_builtin_backends(context()));
    EXPECT_EQ(refusal(context(), "natve"),
              "register_checked_backend: there is no back-end \"natve\" (the back-ends are "
              "\"memory\", \"memory-restricted\" and \"native\")");
    unregister();
    EXPECT_EQ(refusal(context(), "native"),
              "register_checked_backend: there is no back-end \"native\" (there are no back-ends)");
    EXPECT_THAT(registered_backends(context()), IsEmpty());
}

TEST_F(CheckedRegistrationTest, registrationsCanBeRemoved) {
    registerWithChecks(double_backend(std::make_shared<Script>()));
    unregister();
    EXPECT_FALSE(get_stream_writer("checked:double", {}, scalarSetup()).has_value());
    EXPECT_FALSE(get_stream_reader("checked:double", boost::any()).has_value());
}

TEST_F(CheckedRegistrationTest, errorNamesAnUnregisteredInnerBackend) {
    const auto inner = register_backend(context(), double_backend(std::make_shared<Script>()));
    keep(register_checked_backend(context(), "double"));
    for (auto registration : inner) {
        registration.Unregister();
    }
    const std::string text =
        "not a logic error: the back-end \"checked:double\" needs the back-end "
        "\"double\", which is not registered in the host's service framework";
    EXPECT_EQ(mistake_of([] { writer("checked:double"); }), text);
    EXPECT_EQ(mistake_of([] { reader("checked:double", boost::any()); }), text);
}

TEST_F(CheckedRegistrationTest, nullFromTheInnerBackendStaysNull) {
    Backend nothing = double_backend(std::make_shared<Script>());
    nothing.createWriter = [](const StreamingAttributes&, const GroupSetup&) { return nullptr; };
    registerWithChecks(nothing);
    EXPECT_EQ(writer("checked:double"), nullptr);
    EXPECT_EQ(reader("checked:double", boost::any()), nullptr);
}

TEST_F(CheckedRegistrationTest, exceptionOfTheInnerConstructorPropagates) {
    const auto script = std::make_shared<Script>();
    registerWithChecks(double_backend(script));
    script->onCreate = [] { throw std::bad_alloc(); };
    EXPECT_THROW(writer("checked:double"), std::bad_alloc);
}

TEST_F(CheckedRegistrationTest, checkedWriterOutlivesBothServices) {
    const auto target = writer("checked:memory");
    unregister();
    EXPECT_TRUE(target->write(0, 1.0, row, 3));
    target->flush();
    EXPECT_THAT(*memoryStore(*target, "a").times, ElementsAre(1.0));
}

} // namespace
} // namespace logging2::core::test
