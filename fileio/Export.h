#pragma once

/// Marks a class or function that other users of the plugin library may link to. Whatever does not
/// carry it is hidden in the library: rooms may change it at will.
#define PANEL_EXPORT __attribute__((visibility("default")))
