#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/memory/memory_stores.hpp>

namespace logging2::core::bench {
namespace {

/// How a host undoes a step that its solver rejects.
enum class Rejecting { nothing, byRollback, byTimeRegression };

StreamingAttributes attributes_for(const Workload& workload, Rejecting rejecting) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = rejecting == Rejecting::byTimeRegression;
    attributes.pointLimit = std::max<std::size_t>(1, workload.stepCount / 10);
    return attributes;
}

/// Writes the steps of a workload with one group. Every 16th step is first written with other
/// values and rejected. A writer with rings keeps a tenth of the steps, so that the rings are full
/// most of the time.
template <class Writer>
class RejectedSteps : public Contender {
public:
    RejectedSteps(const Rows& workloadRows, const std::filesystem::path& emptyDirectory,
                  Rejecting how)
        : Contender(workloadRows, emptyDirectory),
          rejecting(how),
          attributes(attributes_for(rows.workload(), how)),
          writer(attributes, setup_of(rows.workload())) {}

    void run() override {
        StreamWriter& target = writer;
        const std::size_t valueCount = rows.workload().widestRow();
        for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
            if (rejecting != Rejecting::nothing && step % 16 == 15) {
                target.write(0, Rows::time(step), rows.values(0, step + 1), valueCount);
                if (rejecting == Rejecting::byRollback) {
                    target.rollback(0, Rows::time(step - 1));
                }
            }
            target.write(0, Rows::time(step), rows.values(0, step), valueCount);
        }
    }

    void finish() override { writer.flush(); }

    std::size_t check() override {
        constexpr bool hasRings = std::is_same_v<Writer, MemoryStreamRestrictedWriter>;
        check_stores(rows, writer, hasRings ? attributes.pointLimit : rows.workload().stepCount);
        return 0;
    }

private:
    Rejecting rejecting;
    StreamingAttributes attributes;
    Writer writer;
};

using Growing = RejectedSteps<MemoryStreamWriter>;
using Restricted = RejectedSteps<MemoryStreamRestrictedWriter>;

template <class Kind>
bool add_ways(const std::string& writer) {
    add_contender<Kind>(writer + "-accepting", Suits::oneGroup, Rejecting::nothing);
    add_contender<Kind>(writer + "-rolling-back", Suits::oneGroup, Rejecting::byRollback);
    return add_contender<Kind>(writer + "-regressing", Suits::oneGroup,
                               Rejecting::byTimeRegression);
}

[[maybe_unused]] const bool addedGrowing = add_ways<Growing>("memory");
[[maybe_unused]] const bool addedRestricted = add_ways<Restricted>("restricted");

} // namespace
} // namespace logging2::core::bench
