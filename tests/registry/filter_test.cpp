#include "registry_fixture.hpp"

#include <list>

namespace services_test {
namespace {

using namespace cppmicroservices;

struct MalformedFilter {
    const char* text;
    const char* message;
};

const MalformedFilter malformedFilters[] = {
    {"(k=a)(b)", "Trailing garbage '(b)': (b)"},
    {"(k=a)b)", "Trailing garbage 'b)': b)"},
    {"(k=a)\t", "Trailing garbage '\t': \t"},
    {"(k=a) \n", "Trailing garbage ' \n':  \n"},
    {"(k=a(b)", "Unexpected end of query: "},
    {"(k=a", "Unexpected end of query: "},
    {"(k=a\\", "Unexpected end of query: "},
    {"(k=a\\)", "Unexpected end of query: "},
    {"(k", "Unexpected end of query: "},
    {"(k<=", "Unexpected end of query: "},
    {"(", "Unexpected end of query: "},
    {" ", "Unexpected end of query: "},
    {"(&(a=b)", "Unexpected end of query: "},
    {"(|(a=b)(", "Unexpected end of query: "},
    {"()", "Malformed query: )"},
    {"( )", "Malformed query: )"},
    {")", "Malformed query: )"},
    {"k=a", "Malformed query: k=a"},
    {"((k=a))", "Malformed query: (k=a))"},
    {"(=a)", "Malformed query: =a)"},
    {"( =a)", "Malformed query: =a)"},
    {"(~=a)", "Malformed query: ~=a)"},
    {"(!(a=b)(c=d))", "Malformed query: "},
    {"(&)", "Malformed query: )"},
    {"(!)", "Malformed query: )"},
    {"(&a=b)", "Malformed query: a=b)"},
    {"(&(a=b)x)", "Malformed query: x)"},
    {"(k a)", "Undefined operator: )"},
    {"(k)", "Undefined operator: )"},
    {"(k<a)", "Undefined operator: <a)"},
    {"(k>a)", "Undefined operator: >a)"},
    {"(k~a)", "Undefined operator: ~a)"},
    {"(k~", "Undefined operator: ~"},
    {"(k(=a)", "Undefined operator: (=a)"},
};

class ServiceFilterTest : public RunningFramework {
protected:
    /// Whether the filter finds a service whose only property is `k`.
    bool finds(const Any& value, const std::string& filter) {
        auto registration = context.RegisterService<Greeter>(make_service(), {{"k", value}});
        const bool isFound = !context.GetServiceReferences<Greeter>(filter).empty();
        registration.Unregister();
        return isFound;
    }

    void expectFound(const Any& value, std::initializer_list<const char*> filters) {
        for (const auto* filter : filters) {
            EXPECT_TRUE(finds(value, filter)) << filter;
        }
    }
    void expectNotFound(const Any& value, std::initializer_list<const char*> filters) {
        for (const auto* filter : filters) {
            EXPECT_FALSE(finds(value, filter)) << filter;
        }
    }
    void expectTextFound(const std::string& value, std::initializer_list<const char*> filters) {
        expectFound(value, filters);
    }
    void expectTextNotFound(const std::string& value, std::initializer_list<const char*> filters) {
        expectNotFound(value, filters);
    }
};

TEST_F(ServiceFilterTest, malformedFilterIsRefusedWithAReason) {
    const auto registration = context.RegisterService<Greeter>(make_service());
    for (const auto& [filter, message] : malformedFilters) {
        const std::string text = filter;
        EXPECT_EQ(thrown_text<std::invalid_argument>(
                      [&] { context.GetServiceReferences<Greeter>(text); }),
                  message)
            << filter;
    }
}

TEST_F(ServiceFilterTest, filterIsParsedOnlyIfAServiceHasTheInterface) {
    const auto other = context.RegisterService<Counter>(make_service());
    for (const auto& malformed : malformedFilters) {
        EXPECT_TRUE(context.GetServiceReferences<Greeter>(malformed.text).empty());
    }
    context.RegisterService<Greeter>(make_service()).Unregister();
    EXPECT_TRUE(context.GetServiceReferences<Greeter>("(name=a)b)").empty());
}

TEST_F(ServiceFilterTest, filterIsParsedIfAllInterfacesAreRequested) {
    EXPECT_THROW(context.GetServiceReferences("", "(k"), std::invalid_argument);
}

TEST_F(ServiceFilterTest, comparesTextExactly) {
    expectTextFound("Hello World", {"(k=Hello World)", "(k=\\Hello\\ World)"});
    expectTextNotFound("Hello World", {"(k=hello world)", "(k=Hello)", "(k= Hello World)",
                                       "(k=Hello World )", "(k=)", "(k=Hello World*x)"});
    expectTextFound("", {"(k=)", "(k=*)"});
    expectTextNotFound("", {"(k=a)"});
}

TEST_F(ServiceFilterTest, keysIgnoreCase) {
    expectTextFound("a", {"(K=a)", "(k=a)"});
    const auto registration =
        context.RegisterService<Greeter>(make_service(), {{"MixedCase", std::string("a")}});
    EXPECT_EQ(context.GetServiceReferences<Greeter>("(mixedcase=a)").size(), 1u);
    EXPECT_EQ(context.GetServiceReferences<Greeter>("(MIXEDCASE=a)").size(), 1u);
}

TEST_F(ServiceFilterTest, blanksAreAllowedAroundKeysAndBeforeParentheses) {
    expectTextFound("a", {" (k=a)", "\t\n(k=a)", "( k=a)", "(k =a)", "(\tk\n=a)", "(k=a)  ",
                          "( & (k=a) (k=*) )", "(! (k=b) )"});
}

TEST_F(ServiceFilterTest, keysMayContainBlanksAndOperatorCharacters) {
    const auto registration = context.RegisterService<Greeter>(
        make_service(),
        {{"a b", std::string("1")}, {"a&b", std::string("2")}, {"c!", std::string("3")}});

    for (const auto* filter : {"(a b=1)", "(a&b=2)", "(c!=3)"}) {
        EXPECT_EQ(context.GetServiceReferences<Greeter>(filter).size(), 1u) << filter;
    }
}

TEST_F(ServiceFilterTest, starIsAWildcardAnywhere) {
    expectTextFound("Hello World", {"(k=H*)", "(k=*d)", "(k=*o*o*)", "(k=**)", "(k=*)",
                                    "(k=Hello* World)", "(k=H*o*d)"});
    expectTextNotFound("Hello World", {"(k=H*x)", "(k=*x*)", "(k=h*)", "(k=*o*o*o*)"});
    expectTextFound("aab", {"(k=*ab)"});
}

TEST_F(ServiceFilterTest, deleteCharacterActsAsWildcard) {
    expectTextFound("Hello", {"(k=H\x7f)", "(k=\x7f)"});
}

TEST_F(ServiceFilterTest, backslashEscapesTheNextCharacter) {
    expectTextFound("a*b", {"(k=a\\*b)", "(k=a*b)"});
    expectTextNotFound("axb", {"(k=a\\*b)"});
    expectTextFound("a(b", {"(k=a\\(b)"});
    expectTextFound("a)b", {"(k=a\\)b)"});
    expectTextFound("a\\b", {"(k=a\\\\b)"});
    expectTextFound("ab", {"(k=a\\b)"});
    expectTextNotFound("a\\b", {"(k=a\\b)"});
}

TEST_F(ServiceFilterTest, valueEndsAtAnUnbalancedParenthesis) {
    expectTextFound("(a)", {"(k=(a))"});
    expectTextFound("x(a)(b)y", {"(k=x(a)(b)y)"});
    expectTextFound("a=b", {"(k=a=b)"});
    expectTextFound("=a", {"(k==a)"});
}

TEST_F(ServiceFilterTest, approximateComparisonIgnoresCaseAndBlanks) {
    expectTextFound("Hello World",
                    {"(k~=hello world)", "(k~=HELLOWORLD)", "(k~= h e l l o world )"});
    expectTextNotFound("Hello World", {"(k~=hello)", "(k~=h*)", "(k~=*)"});
    expectTextFound("a*b", {"(k~=A\\*B)"});
}

TEST_F(ServiceFilterTest, ordersTextByCharacters) {
    expectTextFound("Hello", {"(k>=Hello)", "(k<=Hello)", "(k>=Hell)", "(k<=Iello)"});
    expectTextNotFound("Hello", {"(k<=Hell)", "(k>=Iello)", "(k>=h)"});
}

TEST_F(ServiceFilterTest, singleStarTestsForPresence) {
    for (const Any& value : {Any(0), Any(false), Any(std::string()), Any('c'),
                             Any(std::vector<std::string>()), Any(std::vector<int>{1})}) {
        expectFound(value, {"(k=*)"});
        expectNotFound(value, {"(other=*)"});
    }
    expectNotFound(Any(), {"(k=*)", "(k=)"});
}

TEST_F(ServiceFilterTest, missingKeyNeverMatches) {
    expectTextNotFound("a", {"(z=a)", "(z=*)", "(z=)", "(z~=)", "(z<=a)", "(z>=a)"});
    expectTextFound("a", {"(!(z=a))", "(!(z=*))"});
}

TEST_F(ServiceFilterTest, combinesFilters) {
    expectTextFound("a", {"(&(k=a))", "(&(k=a)(k=*))", "(|(k=b)(k=a))", "(!(k=b))",
                          "(&(|(k=x)(k=a))(!(&(k=a)(k=b))))", "(&(k=*)(!(z=*)))"});
    expectTextNotFound("a", {"(&(k=a)(k=b))", "(|(k=b)(k=c))", "(!(k=a))", "(&(k=b)(k=a))"});
}

TEST_F(ServiceFilterTest, charactersAreComparedAsText) {
    expectFound('c', {"(k=c)", "(k~=C)", "(k>=b)", "(k<=d)"});
    expectNotFound('c', {"(k=C)", "(k=cd)", "(k=)", "(k<=b)"});
    expectFound(static_cast<const char*>("abc"), {"(k=abc)", "(k=a*)", "(k~=ABC)", "(k>=abb)"});
    expectNotFound(static_cast<const char*>("abc"), {"(k=ABC)", "(k=ab)"});
}

TEST_F(ServiceFilterTest, booleansMatchTheirAbbreviations) {
    expectFound(true, {"(k=true)", "(k=t)", "(k=tr)", "(k=)"});
    expectNotFound(true, {"(k=false)", "(k=f)", "(k=1)"});
    expectFound(false, {"(k=false)", "(k=f)", "(k=)"});
    expectNotFound(false, {"(k=true)", "(k=0)"});
}

TEST_F(ServiceFilterTest, integersAreComparedWithTheStartOfTheText) {
    for (const Any& value : {Any(42), Any(42u), Any(42L), Any(42UL), Any(42LL), Any(42ULL),
                             Any(short(42)), Any(static_cast<unsigned short>(42))}) {
        expectFound(value, {"(k=42)", "(k=42abc)", "(k= 42)", "(k>=41)", "(k>=42)", "(k<=42)",
                            "(k<=43)", "(k~=42)"});
        expectNotFound(value, {"(k=43)", "(k=4)", "(k>=43)", "(k<=41)", "(k=4*)"});
    }
    expectFound(-1L, {"(k=-1)", "(k<=0)"});
    expectNotFound(0, {"(k=abc)", "(k=)", "(k>=abc)"});
}

TEST_F(ServiceFilterTest, fractionsAreComparedWithTheStartOfTheText) {
    for (const Any& value : {Any(1.5), Any(1.5F)}) {
        expectFound(value, {"(k=1.5)", "(k=1.50)", "(k=1.5x)", "(k>=1.4)", "(k<=1.6)", "(k~=1.5)"});
        expectNotFound(value, {"(k=1)", "(k=abc)", "(k=)", "(k>=1.6)", "(k<=1.4)"});
    }
}

TEST_F(ServiceFilterTest, anyElementOfASequenceMatches) {
    using Texts = std::vector<std::string>;
    expectFound(Texts{"a", "b"}, {"(k=a)", "(k=b)", "(k~=B)", "(k>=b)", "(!(k=c))"});
    expectNotFound(Texts{"a", "b"}, {"(k=c)", "(k>=c)", "(k=ab)"});
    expectFound(std::list<std::string>{"a", "b"}, {"(k=a)", "(k=b)"});
    expectNotFound(std::list<std::string>{"a", "b"}, {"(k=c)"});
    expectFound(std::vector<Any>{1, std::string("x")}, {"(k=1)", "(k=x)"});
    expectNotFound(std::vector<Any>{1, std::string("x")}, {"(k=2)", "(k=y)"});
}

TEST_F(ServiceFilterTest, matchesThePropertiesOfTheRegistry) {
    const auto registration = context.RegisterService<Greeter, Counter>(make_service());
    const auto id = std::to_string(value_of<long>(find<Greeter>().GetProperty("service.id")));

    for (const auto& filter : {"(objectclass=services_test::Counter)",
                               "(OBJECTCLASS=services_test::G*)", "(service.scope=singleton)"}) {
        EXPECT_EQ(context.GetServiceReferences<Greeter>(filter).size(), 1u) << filter;
    }
    EXPECT_EQ(context.GetServiceReferences<Greeter>("(service.id=" + id + ")").size(), 1u);
}

} // namespace
} // namespace services_test
