#include <logging2/host/foundation/warnings.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <iostream>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace foundation {
namespace {

struct HandlerSlot {
    std::mutex mutex;
    WarningHandler handler; // guarded by mutex
};

HandlerSlot& handler_slot() {
    // Never destroyed, because a warning may still be issued during process shutdown.
    static auto* const slot = new HandlerSlot;
    return *slot;
}

WarningHandler current_handler() {
    HandlerSlot& slot = handler_slot();
    const std::lock_guard lock(slot.mutex);
    return slot.handler;
}

/// Whether the unit is a control character of C0 or C1, or DEL.
bool is_control(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
}

/// Returns the control character as text that cannot act on a terminal, such as "\x1b".
std::u16string readable(char16_t control) {
    constexpr std::u16string_view digits = u"0123456789abcdef";
    switch (control) {
    case u'\n':
        return u"\\n";
    case u'\t':
        return u"\\t";
    default:
        return {u'\\', u'x', digits[control / 16U], digits[control % 16U]};
    }
}

std::u16string escaped(std::u16string_view text) {
    std::u16string result;
    for (const char16_t unit : text) {
        if (is_control(unit)) {
            result += readable(unit);
            continue;
        }
        if (unit == u'"' || unit == u'\\') {
            result += u'\\';
        }
        result += unit;
    }
    return result;
}

void print_warning(const Message& message) {
    std::u16string line = u"warning: " + escaped(utf8_string_to_ustring(message.key()));
    for (const std::u16string& argument : message.arguments()) {
        line += u" \"" + escaped(argument) + u'"';
    }
    line += u" [" + escaped(utf8_string_to_ustring(message.catalog())) + u"]\n";
    std::cerr << ustring_to_utf8_string(line) << std::flush;
}

} // namespace

void issueWarning(const Message& message) {
    if (const WarningHandler handler = current_handler()) {
        handler(message);
    } else {
        print_warning(message);
    }
}

WarningHandler setWarningHandler(WarningHandler handler) {
    HandlerSlot& slot = handler_slot();
    const std::lock_guard lock(slot.mutex);
    return std::exchange(slot.handler, std::move(handler));
}

} // namespace foundation
