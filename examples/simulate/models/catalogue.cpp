#include <examples/simulate/models/catalogue.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/models/BouncingBall.hpp>
#include <examples/simulate/models/DcMotor.hpp>
#include <examples/simulate/models/Lorenz.hpp>

namespace simulate {
namespace {

std::vector<std::unique_ptr<const Model>> make_models() {
    std::vector<std::unique_ptr<const Model>> result;
    result.push_back(std::make_unique<const BouncingBall>());
    result.push_back(std::make_unique<const DcMotor>());
    result.push_back(std::make_unique<const Lorenz>());
    return result;
}

std::string listed_names() {
    std::string names;
    for (const auto& model : models()) {
        names += (names.empty() ? "" : ", ") + model->name();
    }
    return names;
}

} // namespace

const std::vector<std::unique_ptr<const Model>>& models() {
    static const std::vector<std::unique_ptr<const Model>> all = make_models();
    return all;
}

const Model& find_model(const std::string& name) {
    for (const auto& model : models()) {
        if (model->name() == name) {
            return *model;
        }
    }
    throw HostError("there is no model \"" + name + "\" (the models are: " + listed_names() + ")");
}

} // namespace simulate
