# Makes a source file that holds other files: cmake -DFILES=<separated by ,> -DOUTPUT=<file> -P embed_files.cmake
string(REPLACE "," ";" files "${FILES}")
set(arrays "")
set(entries "")
foreach(file IN LISTS files)
  get_filename_component(name ${file} NAME)
  string(MAKE_C_IDENTIFIER ${name} array)
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  # An empty array has no size.
  string(APPEND arrays "constexpr char ${array}[] = {${bytes}'\\0'};\n")
  string(APPEND entries "      {\"${name}\", {${array}, sizeof ${array} - 1}},\n")
endforeach()
file(WRITE ${OUTPUT} "#include <tools/view/embedded_files.hpp>

namespace logging2::tools::view {
namespace {

${arrays}
} // namespace

const std::vector<EmbeddedFile>& embedded_files() {
  static const std::vector<EmbeddedFile> files{
${entries}  };
  return files;
}

} // namespace logging2::tools::view
")
