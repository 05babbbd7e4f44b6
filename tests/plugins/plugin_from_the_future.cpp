#include "api/image_io.h"

extern "C" __attribute__((visibility("default"))) const vyn::PluginEntry<vyn::ImageFormat>
    vyn_plugin_2dio;
const vyn::PluginEntry<vyn::ImageFormat> vyn_plugin_2dio = {vyn::plugin_interface_version + 1,
                                                            nullptr};
