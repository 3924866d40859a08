#pragma once

#include "OnChangeStore.hpp"

#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>

#include <cstddef>
#include <map>
#include <optional>

namespace custom_backend {

using Setup =
    logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData>;

/// Keeps a channel's values only where they change, in memory: states, set points and switches
/// cost next to nothing however long they stay. A scalar that changes at every step costs twice
/// what it would otherwise.
class OnChangeStreamWriter final : public logging2::core::StreamWriter {
public:
    OnChangeStreamWriter(const logging2::core::StreamingAttributes& attributes, Setup groupSetup);

    bool write(std::size_t group, double time, const double* values, std::size_t n) override;
    void rollback(std::size_t group, double time) override;
    boost::any dataStore(const lang::core::ValuePath& path) const override;
    std::optional<logging2::core::DataStoreInfo> dataStoreInfo() const override;
    void flush() override;
    void flushIntermediate() override;
    void close() override;

private:
    Setup setup;
    bool rollbackOnTimeRegression;
    bool flushed = false;
    std::map<std::size_t, GroupHistory> histories; // by group id
    std::map<lang::core::ValuePath, OnChangeStore> stores;
};

} // namespace custom_backend
