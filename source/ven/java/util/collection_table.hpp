// The rows of the collection class units, shared by collections.cpp and the sweep suite.
#pragma once

#define VEN_COLLECTION_CLASSES(X)                                                                            \
    X(venArrayListGetClass, venArrayListIsInstance, "java/util/ArrayList")                                   \
    X(venCollectionGetClass, venCollectionIsInstance, "java/util/Collection")                                \
    X(venEnumSetGetClass, venEnumSetIsInstance, "java/util/EnumSet")
