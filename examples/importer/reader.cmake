# The model reader of the example importer. It sees the library's public headers alone.
add_library(velmor_ifc_reader STATIC
    ${CMAKE_CURRENT_LIST_DIR}/GeometryPolyhedron.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcClasses.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcCommonSets.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcCurves.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcEntities.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcFaces.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcGeoreference.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcPlacement.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcProperties.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcPropertyRelations.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcReader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcRecord.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcShape.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcSweeps.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcTextures.cpp
    ${CMAKE_CURRENT_LIST_DIR}/IfcUnits.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Profiles.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StepFile.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StepLexer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/StepText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Triangulation.cpp)
target_include_directories(velmor_ifc_reader PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(velmor_ifc_reader PUBLIC Velmor::Velmor PRIVATE velmor_options)
