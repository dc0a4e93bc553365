# Warning and sanitizer flags shared by every target of the project.
add_library(nqdom_compile_options INTERFACE)
target_compile_options(nqdom_compile_options INTERFACE -Wall -Wextra -Wpedantic)
# Calls inside a shared library go straight to its own exported functions,
# which can then be inlined, instead of through the PLT.
target_compile_options(nqdom_compile_options INTERFACE -fno-semantic-interposition)
if(NQDOM_WERROR)
  target_compile_options(nqdom_compile_options INTERFACE -Werror)
endif()
if(NQDOM_SANITIZE)
  set(_nqdom_san -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(nqdom_compile_options INTERFACE ${_nqdom_san})
  target_link_options(nqdom_compile_options INTERFACE ${_nqdom_san})
endif()

# Applies the project's options to a target without exporting them.
function(nqdom_use_compile_options target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:nqdom_compile_options>)
endfunction()
