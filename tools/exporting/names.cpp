#include <tools/exporting/names.hpp>

#include <tools/terminal/json.hpp>

#include <algorithm>
#include <filesystem>

namespace logging2::tools {

std::string name_of_path(const std::string& path) {
    const std::string text = Json(path).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string name = Json::parse(text).get<std::string>();
    std::replace(name.begin(), name.end(), '\0', '_');
    return name;
}

std::string hdf5_name_of_path(const std::string& path) {
    std::string name = name_of_path(path);
    std::replace(name.begin(), name.end(), '/', '_');
    return name.empty() || name == "." ? "_" : name;
}

std::string name_of_group(std::size_t group) {
    return "group-" + std::to_string(group);
}

std::string file_of_group(const std::string& file, std::size_t group) {
    std::filesystem::path path(file);
    path.replace_filename(path.stem().string() + '-' + std::to_string(group) +
                          path.extension().string());
    return path.string();
}

std::string UniqueNames::take(const std::string& wanted) {
    std::string name = wanted;
    for (std::size_t number = 2; !taken.insert(name).second; ++number) {
        name = wanted + '_' + std::to_string(number);
    }
    return name;
}

} // namespace logging2::tools
