# Copies FILES and the libraries in MODULES to FOLDER, and writes a list of resources beside it.
file(REMOVE_RECURSE ${FOLDER})
file(COPY ${FILES} DESTINATION ${FOLDER})
file(RENAME ${FOLDER}/Contract.json ${FOLDER}/contract.json)

# A browser resolves no names of packages, and the page has no source maps.
function(copy_module from name)
    file(READ ${MODULES}/${from} text)
    string(REPLACE "from\"preact\"" "from\"./preact.js\"" text "${text}")
    string(REGEX REPLACE "//# sourceMappingURL=[^\n]*" "" text "${text}")
    file(WRITE ${FOLDER}/${name} "${text}")
endfunction()
copy_module(preact/dist/preact.module.js preact.js)
copy_module(preact/hooks/dist/hooks.module.js hooks.js)
copy_module(htm/dist/htm.module.js htm.js)
file(COPY_FILE ${MODULES}/preact/LICENSE ${FOLDER}/LICENSE.preact.txt)
file(COPY_FILE ${MODULES}/htm/LICENSE ${FOLDER}/LICENSE.htm.txt)

file(GLOB names RELATIVE ${FOLDER} ${FOLDER}/*)
list(TRANSFORM names REPLACE "(.+)" "<file alias=\"\\1\">files/\\1</file>")
list(JOIN names "\n" entries)
file(WRITE ${FOLDER}/../page.qrc "<RCC><qresource prefix=\"/page\">\n${entries}\n</qresource></RCC>\n")
