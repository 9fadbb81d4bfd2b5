# cmake -DPAGE=<folder> -DOUT=<file.cpp> -P embed_files.cmake
# Writes the source file that holds the report's page: its parts as bytes, so that no compiler's limit on
# string literals matters, and what its policy says of style and script.
set(scripts data.js details.js table.js views.js main.js)

# The text of files of the page, one after the other, with line ends as a browser sees them.
function(read_page result)
  set(all "")
  foreach(name IN LISTS ARGN)
    file(READ ${PAGE}/${name} text)
    string(APPEND all "${text}")
  endforeach()
  string(REPLACE "\r\n" "\n" all "${all}")
  set(${result} "${all}" PARENT_SCOPE)
endfunction()

# Base64 of the 32 bytes of a SHA-256 in hexadecimal: 42 characters for 31.5 bytes, and the last four bits.
function(to_base64 hex result)
  set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  set(text "")
  foreach(at RANGE 0 63 3)
    string(SUBSTRING "${hex}00" ${at} 3 digits) # 12 bits, two characters
    math(EXPR high "0x${digits} >> 6")
    math(EXPR low "0x${digits} & 63")
    foreach(place ${high} ${low})
      string(SUBSTRING ${letters} ${place} 1 letter)
      string(APPEND text ${letter})
    endforeach()
  endforeach()
  string(SUBSTRING "${text}" 0 43 text)
  set(${result} "${text}=" PARENT_SCOPE)
endfunction()

function(add_part name text)
  string(HEX "${text}" hex)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)"
         "\\1\n" bytes "${bytes}")
  string(APPEND source "constexpr unsigned char k${name}[] = {\n${bytes}0};\n\n")
  string(APPEND accessors "std::string_view Page${name}() noexcept\n{\n    return Text(k${name});\n}\n\n")
  set(source "${source}" PARENT_SCOPE)
  set(accessors "${accessors}" PARENT_SCOPE)
endfunction()

read_page(skeleton report.html)
read_page(style report.css)
read_page(script ${scripts})

set(source "")
set(accessors "")
add_part(Skeleton "${skeleton}")
foreach(part Style Script)
  string(TOLOWER ${part} variable)
  string(SHA256 hash "${${variable}}")
  to_base64(${hash} base64)
  add_part(${part} "${${variable}}")
  add_part(${part}Hash "sha256-${base64}")
endforeach()

file(WRITE ${OUT} "// Made from the files in page/ by embed_files.cmake.
#include \"Tools/kx_gpsim/report_page.h\"

#include <cstddef>

namespace kx {

namespace {

${source}// Without the zero at its end.
template <std::size_t size>
std::string_view Text(const unsigned char (&bytes)[size]) noexcept
{
    return {reinterpret_cast<const char*>(bytes), size - 1};
}

} // namespace

${accessors}} // namespace kx
")
