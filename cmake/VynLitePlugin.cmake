# For plug-ins inside and outside of the program's tree; part of the package VynLite.

# vynlite_add_plugin(NAME SUFFIX SOURCE...): a file format in a shared object NAME.SUFFIX, which the
# programs find below the folders of VYNLITE_PLUGINS or at its installed place. SUFFIX is 2dio for
# pictures, 3dio for fields.
function(vynlite_add_plugin name suffix)
    add_library(${name} MODULE ${ARGN})
    target_link_libraries(${name} PRIVATE VynLite::api)
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".${suffix}")
    install(TARGETS ${name} LIBRARY DESTINATION ${VYNLITE_PLUGIN_DIR})
endfunction()
