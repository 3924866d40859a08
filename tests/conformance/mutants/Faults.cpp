#include <tests/conformance/mutants/Faults.hpp>

#include <logging2/logging2.hpp>

namespace logging2::core::conformance {
namespace {

/// Calls the fault if it is set, otherwise the sound behaviour.
template <class Fault, class Sound, class... Arguments>
auto either(const Fault& fault, Sound&& sound, Arguments&&... arguments) {
    return fault ? fault(std::forward<Arguments>(arguments)...) : sound();
}

class FaultyReader final : public StreamReader {
public:
    FaultyReader(Faults planted, std::unique_ptr<StreamReader> soundReader)
        : faults(std::move(planted)),
          sound(std::move(soundReader)) {}

    std::unique_ptr<StreamReader> clone() const override {
        return std::make_unique<FaultyReader>(
            faults, either(
                        faults.clone, [this] { return sound->clone(); }, *sound));
    }
    Doubles times() const override {
        return either(
            faults.times, [this] { return sound->times(); }, *sound);
    }
    Series timeseries() const override {
        Series series = sound->timeseries();
        return faults.timeseries ? faults.timeseries(std::move(series)) : series;
    }

private:
    Faults faults;
    std::unique_ptr<StreamReader> sound;
};

class FaultyWriter final : public StreamWriter {
public:
    FaultyWriter(Faults planted, std::unique_ptr<StreamWriter> soundWriter)
        : faults(std::move(planted)),
          sound(std::move(soundWriter)) {
        either(
            faults.made, [] {}, *sound);
    }
    ~FaultyWriter() override {
        either(
            faults.gone, [] {}, *sound);
    }

    bool write(std::size_t group, double time, const double* values, std::size_t n) override {
        return either(
            faults.write, [&] { return sound->write(group, time, values, n); }, *sound, group, time,
            values, n);
    }
    void rollback(std::size_t group, double time) override {
        either(
            faults.rollback, [&] { sound->rollback(group, time); }, *sound, group, time);
    }
    boost::any dataStore(const ValuePath& path) const override {
        return either(
            faults.dataStore, [&] { return sound->dataStore(path); }, *sound, path);
    }
    std::optional<DataStoreInfo> dataStoreInfo() const override {
        return either(faults.dataStoreInfo, [&] { return sound->dataStoreInfo(); });
    }
    void flush() override {
        either(
            faults.flush, [&] { sound->flush(); }, *sound);
    }
    void flushIntermediate() override {
        either(
            faults.flushIntermediate, [&] { sound->flushIntermediate(); }, *sound);
    }
    void close() override {
        either(
            faults.close, [&] { sound->close(); }, *sound);
    }

private:
    Faults faults;
    std::unique_ptr<StreamWriter> sound;
};

std::unique_ptr<StreamWriter> sound_writer(Base base, const StreamingAttributes& attributes,
                                           const GroupSetup& setup) {
    switch (base) {
    case Base::memory:
        return std::make_unique<MemoryStreamWriter>(attributes, setup);
    case Base::memoryRestricted:
        return std::make_unique<MemoryStreamRestrictedWriter>(attributes, setup);
    case Base::native:
        break;
    }
    return std::make_unique<NativeStreamWriter>(attributes, setup);
}

std::unique_ptr<StreamReader> sound_reader(Base base, const boost::any& store) {
    if (base == Base::native) {
        return std::make_unique<NativeStreamReader>(store);
    }
    return std::make_unique<MemoryStreamReader>(store);
}

/// The part that the back-end's services share.
class FaultyFactory {
public:
    FaultyFactory(Base soundBase, Faults planted) : base(soundBase), faults(std::move(planted)) {}
    ~FaultyFactory() {
        either(faults.serviceGone, [] {});
    }

    FaultyFactory(const FaultyFactory&) = delete;
    FaultyFactory& operator=(const FaultyFactory&) = delete;

    std::unique_ptr<StreamWriter> writer(const StreamingAttributes& attributes,
                                         const GroupSetup& setup) const {
        StreamingAttributes ownAttributes = attributes;
        GroupSetup ownSetup = setup;
        either(
            faults.asked, [] {}, attributes);
        either(
            faults.making, [] {}, ownAttributes, ownSetup);
        return std::make_unique<FaultyWriter>(faults, sound_writer(base, ownAttributes, ownSetup));
    }

    std::unique_ptr<StreamReader> reader(const boost::any& store) const {
        const boost::any opened = either(
            faults.opening, [&] { return store; }, store);
        return std::make_unique<FaultyReader>(faults, sound_reader(base, opened));
    }

private:
    Base base;
    Faults faults;
};

BackendRegistrations register_services(const cppmicroservices::BundleContext& context,
                                       const BackendInfo& info, Base base, const Faults& faults) {
    const auto factory = std::make_shared<const FaultyFactory>(base, faults);
    BackendRegistrations all;
    for (const std::string& name : faults.names) {
        Backend backend{info,
                        [factory](const StreamingAttributes& attributes, const GroupSetup& setup) {
                            return factory->writer(attributes, setup);
                        },
                        [factory](const boost::any& store) { return factory->reader(store); }};
        backend.name = name;
        BackendRegistrations registrations = register_backend(context, backend);
        set_ranking(registrations, name, faults.ranking);
        all.insert(all.end(), registrations.begin(), registrations.end());
    }
    return all;
}

} // namespace

Subject declared_by(Base base) {
    Subject subject;
    subject.info.name = "mutant";
    subject.info.supportsRollback = base != Base::native;
    subject.supports.rollbackOnTimeRegression = base != Base::native;
    subject.supports.closeFlushes = base != Base::native;
    subject.supports.pointLimit = base == Base::memoryRestricted;
    subject.supports.readersDelete = base == Base::native;
    return subject;
}

Subject faulty(Base base, Subject declared, const Faults& faults) {
    declared.registerServices = [info = declared.info, base,
                                 faults](const cppmicroservices::BundleContext& context) {
        return register_services(context, info, base, faults);
    };
    return declared;
}

} // namespace logging2::core::conformance
