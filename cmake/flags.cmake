# Warnings, sanitizers and reproducibility, for every target of the tree. The paths that log messages show start at the
# repository's root.
# No -Wpedantic: it refuses a log message without arguments.
add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
                    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(ZSL_WERROR)
  add_compile_options(-Werror)
endif()
if(ZSL_SANITIZE)
  # No vptr check: it would link everything that calls a selector to the plug-in, which is to be opened only.
  add_compile_options(-fsanitize=${ZSL_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZSL_SANITIZE})
endif()
