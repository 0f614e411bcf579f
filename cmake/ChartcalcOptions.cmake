# Warning and sanitizer switches shared by every target of the project.
add_library(chartcalc_options INTERFACE)
target_compile_options(chartcalc_options INTERFACE -Wall -Wextra -Wno-unused-parameter)
if(CHARTCALC_WERROR)
  target_compile_options(chartcalc_options INTERFACE -Werror)
endif()
if(CHARTCALC_SANITIZE)
  set(CHARTCALC_SAN_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -g)
  target_compile_options(chartcalc_options INTERFACE ${CHARTCALC_SAN_FLAGS})
  target_link_options(chartcalc_options INTERFACE ${CHARTCALC_SAN_FLAGS})
  # GCC's UndefinedBehaviorSanitizer makes a function address unusable in a
  # constant expression, which one compile-time table check needs.
  target_compile_definitions(chartcalc_options INTERFACE CHARTCALC_SANITIZED_BUILD)
endif()
if(CHARTCALC_FUZZ)
  # Coverage instrumentation for the library; the fuzz target links libFuzzer.
  target_compile_options(chartcalc_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
