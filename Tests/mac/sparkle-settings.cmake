# cmake -DSOURCE_DIR=... -P sparkle-settings.cmake
cmake_minimum_required(VERSION 3.25)
# Configuring with Sparkle on must stop while the update feed or the public key is a placeholder, and go
# through with real-looking values. Runs App/SparkleSettings.cmake in a child CMake for each case.
set(cases
    "FAIL|https://example.invalid/velloran/appcast.xml|REPLACE-WITH-SPARKLE-ED25519-PUBLIC-KEY|VELLORAN_SPARKLE_FEED_URL"
    "FAIL|https://updates.velloran.app/appcast.xml|REPLACE-WITH-SPARKLE-ED25519-PUBLIC-KEY|VELLORAN_SPARKLE_PUBLIC_KEY"
    "FAIL|https://updates.velloran.app/appcast.xml||VELLORAN_SPARKLE_PUBLIC_KEY"
    "FAIL|http://updates.velloran.app/appcast.xml|pD7T3Oy3Bq0RZ6mbIYHWXoqXtX7tx3uDBBHz4Rt0bVo=|VELLORAN_SPARKLE_FEED_URL"
    "PASS|https://updates.velloran.app/appcast.xml|pD7T3Oy3Bq0RZ6mbIYHWXoqXtX7tx3uDBBHz4Rt0bVo=|")
string(RANDOM LENGTH 8 tag)
set(script "${CMAKE_CURRENT_BINARY_DIR}/sparkle-settings-case-${tag}.cmake")
set(failures 0)
foreach(case IN LISTS cases)
    string(REPLACE "|" ";" fields "${case}")
    list(GET fields 0 expected)
    list(GET fields 1 feed)
    list(GET fields 2 key)
    list(GET fields 3 named)
    file(WRITE "${script}" "include(\"${SOURCE_DIR}/App/SparkleSettings.cmake\")\n"
        "velloran_check_sparkle_settings(\"${feed}\" \"${key}\")\n")
    execute_process(COMMAND ${CMAKE_COMMAND} -P "${script}" RESULT_VARIABLE result ERROR_VARIABLE error)
    if(expected STREQUAL "PASS" AND result EQUAL 0)
        message("ok: accepted feed ${feed} with key ${key}")
    elseif(expected STREQUAL "FAIL" AND NOT result EQUAL 0 AND error MATCHES "${named}")
        message("ok: refused feed \"${feed}\" with key \"${key}\", naming ${named}")
    else()
        message("FAIL: feed \"${feed}\", key \"${key}\": expected ${expected}, got exit ${result}: ${error}")
        math(EXPR failures "${failures} + 1")
    endif()
endforeach()
file(REMOVE "${script}")
if(failures)
    message(FATAL_ERROR "${failures} Sparkle settings case(s) failed")
endif()
