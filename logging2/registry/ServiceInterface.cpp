#include <cppmicroservices/ServiceFactory.h>
#include <cppmicroservices/ServiceInterface.h>

#include <cstdlib>
#include <cxxabi.h>

namespace cppmicroservices {

std::string detail::GetDemangledName(const std::type_info& typeInfo) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeInfo.name(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? name.get() : typeInfo.name();
}

ServiceFactory::~ServiceFactory() = default;

} // namespace cppmicroservices
