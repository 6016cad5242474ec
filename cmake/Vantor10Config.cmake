# Vantor10::vantor, the C library, comes with libvantor-dev, as this file does; Vantor10::Vantor10 and Vantor10::service,
# the device's client and its software service, with libvantor10-dev. COMPONENTS are names of targets.
include(${CMAKE_CURRENT_LIST_DIR}/VantorTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Vantor10Targets.cmake OPTIONAL)
foreach(component IN LISTS Vantor10_FIND_COMPONENTS)
    if(NOT TARGET Vantor10::${component} AND Vantor10_FIND_REQUIRED_${component})
        set(Vantor10_FOUND FALSE)
        string(APPEND Vantor10_NOT_FOUND_MESSAGE "Vantor10::${component} is not installed. ")
    endif()
endforeach()
