// What the core is, in text.
#pragma once

#define QNM_TEXT_(x) #x
#define QNM_TEXT(x) QNM_TEXT_(x)
#define QNM_CORE_VERSION QNM_TEXT(QNM_CORE_MAJOR) "." QNM_TEXT(QNM_CORE_MINOR) "." QNM_TEXT(QNM_CORE_UPDATE)
