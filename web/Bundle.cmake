# How do a page's modules become one script?  esbuild, which asks no network, writes it when a module has changed.
set(web_folder ${CMAKE_CURRENT_LIST_DIR})
set(web_report_modules
    address.js
    blocks.js
    boxes.js
    clock.js
    colours.js
    elements.js
    files.js
    filters.js
    handing.js
    judging.js
    keeping.js
    list.js
    marks.js
    model/choice.js
    model/conditions.js
    model/cuts.js
    model/exports.js
    model/names.js
    model/recordings.js
    model/rows.js
    model/span.js
    model/state.js
    model/timeoffsets.js
    model/timerange.js
    model/timetyped.js
    model/track.js
    model/verdicts.js
    notice.js
    place.js
    playback.js
    player.js
    printing.js
    report/cameras.js
    report/keys.js
    report/main.js
    report/problems.js
    report/summary.js
    texts.js
    theme.js
    timeline/axis.js
    timeline/bar.js
    timeline/columns.js
    timeline/drawing.js
    timeline/geometry.js
    timeline/legend.js
    timeline/period.js
    timeline/timeline.js
    tracking.js)
set(web_zones_modules
    blocks.js
    clock.js
    colours.js
    elements.js
    files.js
    texts.js
    theme.js
    zones/cards.js
    zones/facts.js
    zones/frames.js
    zones/main.js
    zones/model/checks.js
    zones/model/coverage.js
    zones/model/editing.js
    zones/model/geometry.js
    zones/model/history.js
    zones/model/jsontext.js
    zones/model/zonefile.js
    zones/pointer.js
    zones/shortcuts.js
    zones/stage.js
    zones/storing.js)

set(web_detect_modules
    ../wasm/package/detector.js
    blocks.js
    boxes.js
    detect/drawing.js
    detect/main.js
    detect/pacing.js
    detect/picture.js
    detect/settings.js
    detect/sources.js
    detect/telling.js
    clock.js
    elements.js
    notice.js
    texts.js
    theme.js)

# web_bundle(ESBUILD OUTPUT ENTRY MODULE...): a rule for OUTPUT, of ENTRY and what it imports, which must be these modules.
function(web_bundle esbuild output entry)
    list(TRANSFORM ARGN PREPEND ${web_folder}/ OUTPUT_VARIABLE sources)
    add_custom_command(OUTPUT ${output}
        COMMAND ${esbuild} ${entry} --bundle --format=iife --charset=utf8 --log-level=warning
                --outfile=${output} --metafile=${output}.json
        COMMAND ${CMAKE_COMMAND} "-DBUNDLE=${output}" "-DMODULES=${ARGN}" -P ${web_folder}/CheckBundle.cmake
        DEPENDS ${sources} ${web_folder}/package.json ${web_folder}/CheckBundle.cmake
        WORKING_DIRECTORY ${web_folder}                      # names modules as they are listed
        COMMENT "Bundling ${entry}"
        VERBATIM)
endfunction()
