# Compiler and linker flags of every target of this project, carried by the interface target talvio_options.

# Designated initialisers leave members at their defaults on purpose.
add_library(talvio_options INTERFACE)
target_compile_options(talvio_options INTERFACE
    -Wall -Wextra -Wno-missing-field-initializers -Wpedantic -Wshadow -Wcast-align -Wundef -Wvla
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override -Wextra-semi>)
if(TALVIO_WERROR)
    target_compile_options(talvio_options INTERFACE -Werror)
endif()

if(TALVIO_SANITIZE)
    # Frame pointers keep the reports readable; a report ends the test that made it.
    target_compile_options(talvio_options INTERFACE
        -fsanitize=${TALVIO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(talvio_options INTERFACE -fsanitize=${TALVIO_SANITIZE})
else()
    target_compile_options(talvio_options INTERFACE -fstack-protector-strong -fstack-clash-protection)
    target_compile_definitions(talvio_options INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=3> _GLIBCXX_ASSERTIONS)
    target_link_options(talvio_options INTERFACE -Wl,-z,relro,-z,now)
endif()
