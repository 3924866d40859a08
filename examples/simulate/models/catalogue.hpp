#pragma once

#include <examples/simulate/models/Model.hpp>

#include <memory>
#include <string>
#include <vector>

namespace simulate {

/// All models, in the order in which they are listed. Models live as long as the process.
const std::vector<std::unique_ptr<const Model>>& models();

/// Throws HostError, whose text lists the models, where there is none of that name.
const Model& find_model(const std::string& name);

} // namespace simulate
