# What every target of ours has in common, and the three words that the lists below are written in:
# kx_library, kx_program and kx_test.

add_library(kx_options INTERFACE)
target_include_directories(kx_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(kx_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # __FILE__ becomes repository-relative, and no path of the building machine reaches a binary.
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(WIN32)
  target_compile_definitions(kx_options INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0601)
  target_compile_options(kx_options INTERFACE -g -ffunction-sections -fdata-sections)
  # One static image: libgcc, libstdc++ and winpthread come along, imports are system DLLs only.
  target_link_options(kx_options INTERFACE
    -static -Wl,--gc-sections -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va)
endif()
if(KX_COVERAGE)
  # Threads count side by side. Not optimised, so that a line's figures are the line's.
  target_compile_options(kx_options INTERFACE --coverage -fprofile-update=atomic -O0)
  target_link_options(kx_options INTERFACE --coverage -Wl,-S) # the linker takes minutes for what debuggers read
endif()
if(KX_FUZZ)
  # Noting each comparison took half the time of a run, and with the dictionaries found no more edges.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()
if(KX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# kx_library(name [PURE sources] [EDGE sources] [DEPENDS libraries] [SYSTEM libraries])
# Makes kx_<name>_pure from PURE, built natively too, so that a stray Windows header breaks that build;
# and, for Windows only, kx_<name> from EDGE on top of it. DEPENDS names libraries of ours without "kx_".
function(kx_library name)
  cmake_parse_arguments(ARG "" "" "PURE;EDGE;DEPENDS;SYSTEM" ${ARGN})
  if(ARG_PURE)
    add_library(kx_${name}_pure STATIC ${ARG_PURE})
    target_link_libraries(kx_${name}_pure PUBLIC kx_options)
    foreach(dependency IN LISTS ARG_DEPENDS)
      if(TARGET kx_${dependency}_pure)
        target_link_libraries(kx_${name}_pure PUBLIC kx_${dependency}_pure)
      endif()
    endforeach()
  endif()
  if(NOT WIN32)
    return()
  endif()
  if(ARG_EDGE)
    add_library(kx_${name} STATIC ${ARG_EDGE})
    set(scope PUBLIC)
  else()
    add_library(kx_${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_link_libraries(kx_${name} ${scope} kx_options)
  if(ARG_PURE)
    target_link_libraries(kx_${name} ${scope} kx_${name}_pure)
  endif()
  foreach(dependency IN LISTS ARG_DEPENDS)
    target_link_libraries(kx_${name} ${scope} kx_${dependency})
  endforeach()
  target_link_libraries(kx_${name} ${scope} ${ARG_SYSTEM})
endfunction()

# Everything that ctest runs, without what else is built by default.
add_custom_target(kx_tests)

# kx_test(name NATIVE|WINE [SERIAL] SOURCES sources LIBRARIES libraries)
# One GoogleTest program, one CTest entry. NATIVE: built wherever the pure parts are, run under the
# sanitizers only. WINE: a Windows program. SERIAL: uses the agent's fixed pipe and event names.
function(kx_test name)
  cmake_parse_arguments(ARG "NATIVE;WINE;SERIAL" "" "SOURCES;LIBRARIES" ${ARGN})
  if(ARG_NATIVE AND WIN32 OR ARG_WINE AND NOT WIN32)
    return()
  endif()
  # Takes the compiler and the linker half an hour when it counts, and is no part of the goals.
  if(KX_COVERAGE AND name MATCHES "^gpsim_")
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} kx_options kx_test_main)
  add_test(NAME ${name} COMMAND ${name})
  add_dependencies(kx_tests ${name})
  if(WIN32)
    set_tests_properties(${name} PROPERTIES LABELS wine)
  else()
    set_tests_properties(${name} PROPERTIES LABELS native)
  endif()
  if(ARG_SERIAL)
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK agent_names LABELS "wine;serial")
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

# kx_fuzz(name SOURCES sources LIBRARIES libraries): a libFuzzer program.
function(kx_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} kx_options)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

# kx_ship(target): puts the stripped program into KX_STAGE_DIR, its debug data beside it in a file of its own.
function(kx_ship target)
  set(stage ${KX_STAGE_DIR})
  set(tools x86_64-w64-mingw32)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${stage}
    COMMAND ${tools}-objcopy --only-keep-debug $<TARGET_FILE:${target}> ${stage}/$<TARGET_FILE_NAME:${target}>.debug
    COMMAND ${tools}-strip -o ${stage}/$<TARGET_FILE_NAME:${target}> $<TARGET_FILE:${target}>
    COMMAND ${tools}-objcopy --add-gnu-debuglink=${stage}/$<TARGET_FILE_NAME:${target}>.debug
            ${stage}/$<TARGET_FILE_NAME:${target}>
    VERBATIM)
endfunction()
