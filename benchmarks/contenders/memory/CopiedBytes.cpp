#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/Companion.hpp>
#include <benchmarks/contenders/checks.hpp>

#include <algorithm>
#include <cstring>
#include <memory>

namespace logging2::core::bench {
namespace {

enum class Memory { fresh, touched };

/// Copies all bytes to one block of their total size, row after row. No memory is allocated or
/// grows meanwhile.
class CopiedBytes : public Contender {
public:
    CopiedBytes(const Rows& workloadRows, const std::filesystem::path& emptyDirectory, Memory kind)
        : Contender(workloadRows, emptyDirectory),
          memory(kind),
          block(newBlock()) {}

    void prepare() override {
        if (memory == Memory::touched) {
            touch(block);
        }
    }

    void run() override { copyTo(block); }

    std::size_t check() override {
        check_rows(rows, block.get());
        return 0;
    }

protected:
    using Block = std::unique_ptr<double[]>;

    std::size_t valueCount() const { return rows.workload().byteCount() / sizeof(double); }
    Block newBlock() const { return Block(new double[valueCount()]); }
    void touch(const Block& memoryBlock) const {
        std::fill_n(memoryBlock.get(), valueCount(), 1.0);
    }

    void copyTo(const Block& target) const {
        double* end = target.get();
        rows.forEach([&](std::size_t, double time, const double* values, std::size_t n) {
            *end++ = time;
            std::memcpy(end, values, n * sizeof(double));
            end += n;
        });
    }

private:
    Memory memory;
    Block block;
};

/// The same in touched memory, while another thread does the same. They share no lock and no page
/// that either writes, so this tells how two threads slow each other for the hardware's reasons.
class CopiedBytesBeside final : public CopiedBytes {
public:
    CopiedBytesBeside(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : CopiedBytes(workloadRows, emptyDirectory, Memory::touched),
          otherBlock(newBlock()) {}

    void prepare() override {
        CopiedBytes::prepare();
        touch(otherBlock);
        companion.start([this] { copyTo(otherBlock); });
    }

    void run() override {
        CopiedBytes::run();
        companion.end();
    }

private:
    Block otherBlock;
    Companion companion;
};

[[maybe_unused]] const bool addedFresh =
    add_contender<CopiedBytes>("copy-fresh", Suits::anyGroups, Memory::fresh);
[[maybe_unused]] const bool addedTouched =
    add_contender<CopiedBytes>("copy-touched", Suits::anyGroups, Memory::touched);
[[maybe_unused]] const bool addedBeside =
    add_contender<CopiedBytesBeside>("copy-touched-beside", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
