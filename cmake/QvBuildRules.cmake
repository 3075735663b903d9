# The rules every translation unit of ours is compiled with. Linked privately, so that a host that builds us as a
# subproject does not inherit them.
add_library(qvstreet_build_rules INTERFACE)
target_compile_features(qvstreet_build_rules INTERFACE cxx_std_17)
target_compile_options(qvstreet_build_rules INTERFACE
  # The same image gives the same bits from every compiler setting: no fused multiply-add behind our back.
  -ffp-contract=off
  -Wall -Wextra -Wconversion -Wshadow -Wdouble-promotion)
if(QVSTREET_WERROR)
  target_compile_options(qvstreet_build_rules INTERFACE -Werror)
endif()
if(QVSTREET_SANITIZE)
  target_compile_options(qvstreet_build_rules INTERFACE
    -fsanitize=${QVSTREET_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qvstreet_build_rules INTERFACE -fsanitize=${QVSTREET_SANITIZE})
endif()
