# Warnings, sanitizers and reproducibility, for every target of this project and of no other. The paths that log messages
# show start at the repository's root.
add_library(zsl_flags INTERFACE)
# No -Wpedantic: it refuses a log message without arguments.
target_compile_options(zsl_flags INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align $<$<BOOL:${ZSL_WERROR}>:-Werror>
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
if(ZSL_SANITIZE)
  # No vptr check: it would link everything that calls a selector to the plug-in, which is to be opened only.
  target_compile_options(zsl_flags INTERFACE
    -fsanitize=${ZSL_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zsl_flags INTERFACE -fsanitize=${ZSL_SANITIZE})
endif()
