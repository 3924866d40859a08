#include <logging2/host/foundation/warnings.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <iostream>
#include <mutex>
#include <string>
#include <utility>

namespace foundation {
namespace {

struct HandlerSlot {
    std::mutex mutex;
    WarningHandler handler; // guarded by mutex
};

HandlerSlot& handler_slot() {
    // Never destroyed: a warning may still be issued during process shutdown.
    static auto* const slot = new HandlerSlot;
    return *slot;
}

WarningHandler current_handler() {
    HandlerSlot& slot = handler_slot();
    const std::lock_guard lock(slot.mutex);
    return slot.handler;
}

void print_warning(const Message& message) {
    std::string line = "warning: " + message.key();
    for (const std::u16string& argument : message.arguments()) {
        line += " \"" + ustring_to_utf8_string(argument) + '"';
    }
    line += " [" + message.catalog() + "]\n";
    std::cerr << line << std::flush;
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
