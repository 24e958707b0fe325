# Which text is compiled into mdscan for its pages?  Head, style and body of web/report/, and the bundle of its modules.
# Included, it makes a rule for PageText.cpp; run by that rule, with a FOLDER, a SCRIPT and an OUTPUT, it writes it.
if(CMAKE_SCRIPT_MODE_FILE)
    foreach(part head.html style.css body.html)
        get_filename_component(name ${part} NAME_WE)
        file(READ ${FOLDER}/${part} ${name})
    endforeach()
    file(READ ${SCRIPT} script)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/PageText.cpp.in ${OUTPUT} @ONLY)
    file(TOUCH ${OUTPUT})                                    # also where nothing of it has changed
    return()
endif()

include(${PROJECT_SOURCE_DIR}/web/Bundle.cmake)
web_bundle(${MDSCAN_ESBUILD} ${CMAKE_CURRENT_BINARY_DIR}/report.js report/main.js ${web_report_modules})
add_custom_command(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/PageText.cpp
    COMMAND ${CMAKE_COMMAND} -DFOLDER=${web_folder}/report -DSCRIPT=${CMAKE_CURRENT_BINARY_DIR}/report.js
            -DOUTPUT=${CMAKE_CURRENT_BINARY_DIR}/PageText.cpp -P ${CMAKE_CURRENT_LIST_FILE}
    DEPENDS ${CMAKE_CURRENT_LIST_FILE} ${CMAKE_CURRENT_LIST_DIR}/PageText.cpp.in ${CMAKE_CURRENT_BINARY_DIR}/report.js
            ${web_folder}/report/head.html ${web_folder}/report/style.css ${web_folder}/report/body.html
    VERBATIM)
