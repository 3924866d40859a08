#include <logging2/backends/recording/detail/BlockPool.hpp>

#include <utility>

namespace logging2::core::detail {

Block BlockPool::take(std::size_t elementCount) {
    Size& size = sizes[elementCount];
    if (!size.spare.empty()) {
        Block block = std::move(size.spare.back());
        size.spare.pop_back();
        return block;
    }
    const std::size_t wanted = elementCount * sizeof(double);
    if (byteCount + wanted > limit) {
        dropSpare();
    }
    if (byteCount + wanted > limit) {
        return {};
    }
    if (size.spare.capacity() <= size.blockCount) {
        size.spare.reserve(2 * size.blockCount + 1);
    }
    // Not initialised: a block that never becomes full costs what is used of it.
    Block block{std::unique_ptr<double[]>(new double[elementCount]), elementCount};
    byteCount += wanted;
    ++size.blockCount;
    return block;
}

void BlockPool::giveBack(Block block) noexcept {
    if (block.elements) {
        // There is room: take() has reserved it.
        sizes[block.elementCount].spare.push_back(std::move(block));
    }
}

void BlockPool::dropSpare() noexcept {
    for (auto& [elementCount, size] : sizes) {
        byteCount -= size.spare.size() * elementCount * sizeof(double);
        size.blockCount -= size.spare.size();
        size.spare.clear();
    }
}

} // namespace logging2::core::detail
