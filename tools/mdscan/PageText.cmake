# Which texts are compiled into mdscan for its pages?  Of each page head, style and body of its folder in web/, the style
# that pages share, and the bundle of its modules. Included, it makes rules for the sources in ${page_texts}; run by such a
# rule, with the NAME of a page, a FOLDER, a SCRIPT and an OUTPUT, it writes one.
if(CMAKE_SCRIPT_MODE_FILE)
    foreach(part head.html style.css body.html)
        get_filename_component(name ${part} NAME_WE)
        file(READ ${FOLDER}/${NAME}/${part} ${name})
    endforeach()
    file(READ ${FOLDER}/base.css base)
    string(PREPEND style "${base}")
    file(READ ${SCRIPT} script)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/PageText.cpp.in ${OUTPUT} @ONLY)
    file(TOUCH ${OUTPUT})                                    # also where nothing of it has changed
    return()
endif()

include(${PROJECT_SOURCE_DIR}/web/Bundle.cmake)
set(page_texts "")
foreach(page report zones)
    set(bundle ${CMAKE_CURRENT_BINARY_DIR}/${page}.js)
    set(text ${CMAKE_CURRENT_BINARY_DIR}/PageText-${page}.cpp)
    set(parts ${web_folder}/base.css)
    foreach(part head.html style.css body.html)
        list(APPEND parts ${web_folder}/${page}/${part})
    endforeach()
    web_bundle(${MDSCAN_ESBUILD} ${bundle} ${page}/main.js ${web_${page}_modules})
    add_custom_command(OUTPUT ${text}
        COMMAND ${CMAKE_COMMAND} -DNAME=${page} -DFOLDER=${web_folder} -DSCRIPT=${bundle} -DOUTPUT=${text}
                -P ${CMAKE_CURRENT_LIST_FILE}
        DEPENDS ${CMAKE_CURRENT_LIST_FILE} ${CMAKE_CURRENT_LIST_DIR}/PageText.cpp.in ${bundle} ${parts}
        VERBATIM)
    list(APPEND page_texts ${text})
endforeach()
