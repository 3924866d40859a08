#pragma once

#include <logging2/backends/columnar/ColumnarDatastore.hpp>
#include <logging2/backends/columnar/ColumnarOptions.hpp>
#include <logging2/backends/columnar/detail/Arena.hpp>
#include <logging2/backends/columnar/detail/GroupSteps.hpp>
#include <logging2/backends/columnar/detail/PathIndex.hpp>
#include <logging2/backends/columnar/detail/Watch.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/unordered_map.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// The samples of one writer.
///
/// Threads: write, rollback and flush are called by one thread at a time. All other operations may
/// be called on any thread meanwhile.
class Samples {
public:
    Samples(const StreamingAttributes& attributes, const PathIndex::Setup& setup,
            const ColumnarOptions& options);
    ~Samples();
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;

    void write(std::size_t groupId, double time, const double* values, std::size_t n) {
        GroupSteps& group = groupOf(groupId);
        if (n != group.layout->rowLength()) {
            refuseLength(group, n);
        }
        if (obeysRegression && group.isRegression(time)) {
            regress(group, time);
        }
        if (!group.hasRoom()) {
            makeRoom(group);
        }
        group.append(time, values);
    }

    void rollback(std::size_t groupId, double time);
    void flush();
    bool isFlushed() const;
    void flushIntermediate();
    ColumnarDatastore dataStore(const lang::core::ValuePath& path);

    /// Makes a watch. As long as it lives, present() may be called for it.
    std::shared_ptr<Watch> watch(std::optional<Interval> interval);

    /// What the watch's run shows now.
    RunContent present(const Watch& watch);

    const std::shared_ptr<const PathIndex>& pathIndex() const noexcept { return paths; }

private:
    using Lock = std::lock_guard<std::mutex>;

    GroupSteps& groupOf(std::size_t id) const {
        GroupSteps* const group = id < groupsByIndex.size() ? groupsByIndex[id] : nullptr;
        return group != nullptr ? *group : groupOfLargeId(id);
    }

    std::size_t positionOf(const GroupSteps& group) const noexcept {
        return static_cast<std::size_t>(&group - groups.data());
    }

    GroupSteps& groupOfLargeId(std::size_t id) const;
    [[noreturn]] static void refuseLength(const GroupSteps& group, std::size_t n);
    void makeRoom(GroupSteps& group);
    Piece::Owner makePiece(const GroupSteps& group);
    std::size_t withinLimit(std::size_t least, std::size_t wanted);
    std::size_t leastByteCount() const noexcept;
    void discardOldest(std::size_t byteCount);
    void regress(GroupSteps& group, double time);

    // Call these with the mutex.
    template <class Change>
    void change(GroupSteps& group, Change change);
    void discard(GroupSteps& group, const GroupSteps::Cut& cut);
    void trimKept(GroupSteps& group, double time, bool alsoAtTime) noexcept;
    void discardOldestSpan(GroupSteps& group);
    void leaveToWatches(const GroupSteps& group, const RowSpan& span);
    std::vector<std::shared_ptr<const GroupView>> showAll();
    RunContent contentFor(const Watch& watch);
    void leaveContent(Watch& watch);

    const std::shared_ptr<const PathIndex> paths;
    const ColumnarOptions limits;
    const std::string name;
    const bool obeysRegression;
    const std::chrono::system_clock::time_point start = std::chrono::system_clock::now();
    const Arena::Owner arena = Arena::make();

    std::vector<GroupSteps> groups;         // in the order of the setup
    std::vector<GroupSteps*> groupsByIndex; // by id, if it is small
    boost::unordered_map<std::size_t, GroupSteps*> groupsByLargeId;
    std::uint64_t serial = 0;      // of the newest piece
    std::size_t heldByteCount = 0; // of all groups

    mutable std::mutex mutex; // guards the following, and what GroupSteps says
    bool isReadable = false;  // whether stores can be taken
    bool isFinal = false;
    std::vector<std::shared_ptr<const GroupView>> views; // of the final samples
    std::optional<std::chrono::system_clock::time_point> end;
    std::uint64_t revision = 0;
    std::string runId; // made when it is needed
    std::vector<std::weak_ptr<Watch>> watches;
};

} // namespace logging2::core::detail
