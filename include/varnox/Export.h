#pragma once

/// Marks what the library shows to add-ons and hosting programs. Everything else stays hidden.
/// Exception and interface classes carry it too, so that both sides of a shared object agree on
/// their type and a catch by type works.
#define VNX_EXPORT __attribute__((visibility("default")))

/// Keeps an inner class of a shown class hidden.
#define VNX_LOCAL __attribute__((visibility("hidden")))
