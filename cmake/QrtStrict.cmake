# The house rules every target of ours compiles under: full warnings and
# Qt's strict string handling, so no implicit ASCII conversion slips in.
function(qrt_strict target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wno-missing-field-initializers)
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII
        QT_NO_CAST_TO_ASCII
        QT_NO_CAST_FROM_BYTEARRAY
        QT_USE_QSTRINGBUILDER
        QT_NO_SIGNALS_SLOTS_KEYWORDS
        QT_NO_URL_CAST_FROM_STRING)
endfunction()
