// Names that callers look up.
#pragma once

#define QNM_STREAMS extern "C" __attribute__((visibility("default")))
