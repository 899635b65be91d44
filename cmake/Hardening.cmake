# What the presets ask for and a packager, whose tools bring flags of their own, does not get: see K470_HARDEN.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(K470_HARDEN)
    include(CheckCXXCompilerFlag)
    # Not every processor has all of them.
    foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection -Werror=format-security)
        string(MAKE_C_IDENTIFIER "K470_HAS${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            add_compile_options(${flag})
        endif()
    endforeach()
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()
