#pragma once

#include <sqlite3.h>
#include <xxhash.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

// Hashes that fit a recording that was changed on purpose, so that the checks behind them are
// reached. They follow the page on the format, and not the library.

namespace logging2::core::test {

/// The bits of a field of a row, as the hash of the row takes them.
inline std::uint64_t bits_of_field(sqlite3_value* field) {
    if (sqlite3_value_type(field) == SQLITE_INTEGER) {
        return static_cast<std::uint64_t>(sqlite3_value_int64(field));
    }
    const double value = sqlite3_value_type(field) == SQLITE_NULL
                             ? std::numeric_limits<double>::quiet_NaN()
                             : sqlite3_value_double(field) + 0.0;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// An SQL function: the hash of numbers.
inline void hash_numbers(sqlite3_context* context, int count, sqlite3_value** fields) {
    std::vector<std::uint64_t> numbers;
    for (int k = 0; k < count; ++k) {
        numbers.push_back(bits_of_field(fields[k]));
    }
    const std::uint64_t hash = XXH3_64bits(numbers.data(), numbers.size() * sizeof numbers[0]);
    sqlite3_result_int64(context, static_cast<std::int64_t>(hash));
}

/// An SQL function: the hash of a key and a value.
inline void hash_texts(sqlite3_context* context, int, sqlite3_value** fields) {
    std::string bytes;
    for (int k = 0; k < 2; ++k) {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(fields[k]));
        bytes.append(text == nullptr ? "" : text,
                     static_cast<std::size_t>(sqlite3_value_bytes(fields[k])));
        bytes.append(k == 0 ? 1 : 0, '\0');
    }
    const std::uint64_t hash = XXH3_64bits(bytes.data(), bytes.size());
    sqlite3_result_int64(context, static_cast<std::int64_t>(hash));
}

/// An SQL function: the sum of two numbers, which wraps around.
inline void add_numbers(sqlite3_context* context, int, sqlite3_value** terms) {
    sqlite3_result_int64(
        context, static_cast<std::int64_t>(bits_of_field(terms[0]) + bits_of_field(terms[1])));
}

/// Runs statements on the index, and then gives all rows the hashes that fit them.
inline void change_index(const std::filesystem::path& file, const std::string& statements) {
    const std::string repair = R"(
        UPDATE run SET hash = hash_texts(key, value);
        UPDATE chunk SET hash = hash_numbers(
            sequence, signal_group, first_step, steps, stored_steps, offset, byte_count, first_time,
            last_time, least_time, greatest_time, nan_times, ascends, greatest_so_far);
        CREATE TEMP TABLE total (position INTEGER PRIMARY KEY, hash_sum INTEGER);
        INSERT INTO total SELECT position, 0 FROM signal_group;
        CREATE TEMP TABLE addend (signal_group INTEGER, hash INTEGER);
        CREATE TEMP TRIGGER adding AFTER INSERT ON addend BEGIN
            UPDATE total SET hash_sum = add_numbers(hash_sum, new.hash)
            WHERE position = new.signal_group;
        END;
        INSERT INTO addend SELECT signal_group, hash FROM chunk;
        UPDATE signal_group SET chunk_hash_sum =
            (SELECT hash_sum FROM total WHERE total.position = signal_group.position);
        UPDATE signal_group SET hash =
            hash_numbers(position, steps, shown_steps, chunk_hash_sum);)";
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    const auto define = [database](const char* name, int count, auto* function) {
        sqlite3_create_function(database, name, count, SQLITE_UTF8, nullptr, function, nullptr,
                                nullptr);
    };
    define("hash_numbers", -1, hash_numbers);
    define("hash_texts", 2, hash_texts);
    define("add_numbers", 2, add_numbers);
    char* message = nullptr;
    sqlite3_exec(database, (statements + ';' + repair).c_str(), nullptr, nullptr, &message);
    const std::string error = message == nullptr ? "" : message;
    sqlite3_free(message);
    sqlite3_close(database);
    if (!error.empty()) {
        throw std::runtime_error(error);
    }
}

} // namespace logging2::core::test
