#include "OnChangeStreamReader.hpp"
#include "OnChangeStreamWriter.hpp"

#include <logging2/lookup/Backend.hpp>

#include <vector>

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends) {
    using custom_backend::OnChangeStreamReader;
    using custom_backend::OnChangeStreamWriter;
    logging2::core::BackendInfo info;
    info.name = "on-change";
    info.description = "keeps values in memory only where they change";
    info.supportsRollback = true;
    backends.push_back(
        logging2::core::make_backend<OnChangeStreamWriter, OnChangeStreamReader>(info));
}
