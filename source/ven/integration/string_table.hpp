// The rows of the string families, shared by strings.cpp and the sweep suite.
#pragma once

// Rows: exported name, wrapper function (and character type).
#define VEN_STRING_LENGTH_FUNCTIONS(X)                                                                       \
    X(venGetStringLength, ven___GetStringLength)                                                             \
    X(venGetStringUTFLength, ven___GetStringUTFLength)

#define VEN_STRING_PIN_FUNCTIONS(X)                                                                          \
    X(venGetStringChars, jchar, ven___GetStringChars)                                                        \
    X(venGetStringUTFChars, char, ven___GetStringUTFChars)                                                   \
    X(venGetStringCritical, jchar, ven___GetStringCritical)

#define VEN_STRING_RELEASE_FUNCTIONS(X)                                                                      \
    X(venReleaseStringChars, jchar, ven___ReleaseStringChars)                                                \
    X(venReleaseStringUTFChars, char, ven___ReleaseStringUTFChars)                                           \
    X(venReleaseStringCritical, jchar, ven___ReleaseStringCritical)

#define VEN_STRING_REGION_FUNCTIONS(X)                                                                       \
    X(venGetStringRegion, jchar, ven___GetStringRegion)                                                      \
    X(venGetStringUTFRegion, char, ven___GetStringUTFRegion)
