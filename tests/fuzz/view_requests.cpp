#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/Query.hpp>
#include <tools/view/request_head.hpp>

#include <map>
#include <string>
#include <vector>

// Gives arbitrary bytes to what reads the requests of `logging2 view`: the check of a request's
// head and the parser of its query. Whatever is refused is refused with a status for clients. What
// is accepted has the form that the parser behind it expects, and a query that was escaped comes
// out as it went in.

namespace logging2::core::test {
namespace {

using namespace tools::view;

class RequestScript {
public:
    explicit RequestScript(ByteScript& bytes) : script(bytes) {}

    void run() {
        switch (script.below(4)) {
        case 0:
            checkHead(script.text(65536));
            break;
        case 1:
            checkHead(scriptedHead());
            break;
        case 2:
            checkQuery(script.text(65536));
            break;
        default:
            checkEscapedQuery();
        }
    }

private:
    static bool isForClients(const HttpError& error) {
        return (error.status() >= 400 && error.status() < 500) || error.status() == 505;
    }

    /// Parts of heads that mean something, with other bytes between them.
    std::string scriptedHead() {
        static const char* const parts[] = {
            "GET ",     "HEAD ",       "/",
            "/?a=b",    " HTTP/1.1",   "\r\n",
            "\r\n\r\n", "Host: x\r\n", "Range: ",
            "Expect:",  ": ",          "Content-Length: ",
            "0",        " ",           "Transfer-Encoding: chunked"};
        std::string head = script.flag() ? "GET / HTTP/1.1\r\n" : "";
        while (!script.atEnd()) {
            head += script.below(4) == 0 ? script.text(8) : script.oneOf(parts);
        }
        return head;
    }

    static void checkHead(const std::string& bytes) {
        const auto byteCount = head_byte_count(bytes);
        expectEqual(byteCount.has_value(), bytes.find("\r\n\r\n") != std::string::npos, "the end");
        try {
            const std::string head =
                checked_head(bytes.substr(0, byteCount.value_or(bytes.size())));
            checkAccepted(head);
            expectEqual(checked_head(head), head, "the head that was accepted");
        } catch (const HttpError& error) {
            expect(isForClients(error), "status ", error.status());
        }
    }

    static void checkAccepted(const std::string& head) {
        expect(head.rfind("GET ", 0) == 0, "another method");
        expect(head.size() >= 4 && head.compare(head.size() - 4, 4, "\r\n\r\n") == 0, "no end");
        expectEqual(head.find("\r\n\r\n"), head.size() - 4, "the place of the end");
        bool isVisible = true;
        for (std::size_t k = 0; k < head.size(); ++k) {
            const auto c = static_cast<unsigned char>(head[k]);
            const bool isLineEnd =
                c == '\r' ? head[k + 1] == '\n' : c == '\n' && head[k - 1] == '\r';
            isVisible = isVisible && (c >= ' ' || c == '\t' || isLineEnd) && c != 0x7f;
        }
        expect(isVisible, "a control character is left");
    }

    static void checkQuery(const std::string& text) {
        try {
            const Query query(text);
            query.allow({"signal", "from"});
            query.number("from");
            query.texts("signal", 3);
            query.count("from", 1, 10);
        } catch (const HttpError& error) {
            expectEqual(error.status(), 400, "the status");
        }
    }

    void checkEscapedQuery() {
        std::map<std::string, std::vector<std::string>> parameters;
        std::string text;
        for (std::size_t left = script.below(20); left > 0; --left) {
            const std::string name = printable(script.text(6)) + 'n';
            const std::string value = printable(script.text(20));
            parameters[name].push_back(value);
            text += (text.empty() ? "" : "&") + escaped(name) + '=' + escaped(value);
        }
        const Query query(text);
        for (const auto& [name, values] : parameters) {
            expect(query.texts(name, values.size()) == values, "the values of ", name);
        }
    }

    /// Without control characters, which are refused.
    static std::string printable(std::string text) {
        for (char& c : text) {
            c = static_cast<unsigned char>(c) < ' ' || c == '\x7f' ? ' ' : c;
        }
        return text;
    }

    static std::string escaped(const std::string& text) {
        std::string result;
        for (const char c : text) {
            constexpr const char* digits = "0123456789abcdef";
            const auto code = static_cast<unsigned char>(c);
            result += {'%', digits[code >> 4U], digits[code & 15U]};
        }
        return result;
    }

    ByteScript& script;
};

} // namespace

void runScript(ByteScript& script) {
    RequestScript(script).run();
}

} // namespace logging2::core::test
