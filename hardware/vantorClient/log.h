// The one form of every log line.
#pragma once

#include <android/log.h>

namespace vantor {

/// Line numbers of log calls: fixed marks that people search logs for, whatever the source looks like today.
enum LogLine : int {
    kLineInit = 61,
    kLineInitService = 70,
    kLineInitIon = 79,
    kLineDeinit = 91,
    kLineDeinitIon = 98,
    kLineScaleSourcePair = 131,
    kLineScaleSourceGray = 136,
    kLineScaleSourceIon = 149,
    kLineScaleDestinationPair = 177,
    kLineScaleDestinationGray = 182,
    kLineScaleDestinationIon = 195,
    kLineScaleIn = 221,
    kLineScaleOut = 226,
    kLineScaleSourceHandle = 262,
    kLineScaleDestinationHandle = 301,
    kLineSameSizeArguments = 341,
    kLineEnlargementArguments = 383,
    kLineScale = 421,
    kLineScaleFormat = 431,
    kLineScaleSourceTooSmall = 437,
    kLineScaleDestinationTooSmall = 443,
    kLineScaleSourceTooLarge = 449,
    kLineScaleDestinationTooLarge = 455,
    kLineScaleFactorTooSmall = 463,
    kLineScaleFactorTooLarge = 471,
    kLineScaleSourceAlignment = 478,
    kLineScaleDestinationAlignment = 484,
    kLineScaleElapsed = 511,
    kLineScaleServiceFailed = 533,
    kLineScaleSourceUnmap = 551,
    kLineScaleDestinationUnmap = 572,
    kLineScaleDone = 579,
    kLineScaleFallback = 583,
    kLineScaleFallbackFailed = 586,
    kLineWarpSourcePair = 629,
    kLineWarpSourceGray = 634,
    kLineWarpSourceIon = 648,
    kLineWarpDestinationPair = 693,
    kLineWarpDestinationGray = 698,
    kLineWarpDestinationIon = 712,
    kLineWarpIn = 741,
    kLineWarpOut = 746,
    kLineWarpSourceHandle = 786,
    kLineWarpDestinationHandle = 841,
    kLineWarpElapsed = 894,
    kLineWarpServiceFailed = 920,
    kLineWarpSourceUnmap = 940,
    kLineWarpDestinationUnmap = 963,
    kLineWarpDone = 970,
    kLineWarpFallback = 973,
    kLineWarpFallbackFailed = 976,
    kLineModelSource = 1073,
    kLineModelDestination = 1102,
    kLineWarp = 1132,
    kLineWarpSourceTooSmall = 1143,
    kLineWarpDestinationTooSmall = 1148,
    kLineWarpSourceTooLarge = 1153,
    kLineWarpDestinationTooLarge = 1158,
    kLineWarpSizesDiffer = 1164,
    kLineWarpFormat = 1169,
    kLineWarpAlignment = 1175,
    kLineWarpTarget = 1191,
    kLineMatrix = 1249,
};

/// What every line names as its source file, wherever its code is.
constexpr char kLogFileName[] = "vantor_client.cpp";

}  // namespace vantor

/// One line "vantor_client.cpp:FUNCTION():LINE MESSAGE". `format` is a literal; `function` is the bare name
/// of the operation, `line` a LogLine.
#define VANTOR_LOG(priority, function, line, format, ...)                                                  \
    __android_log_print(priority, "VANTOR_CLIENT", "%s:%s():%d " format, ::vantor::kLogFileName, function, \
                        static_cast<int>(line), ##__VA_ARGS__)
#define VANTOR_LOG_INFO(function, line, format, ...) \
    VANTOR_LOG(ANDROID_LOG_INFO, function, line, format, ##__VA_ARGS__)
#define VANTOR_LOG_ERROR(function, line, format, ...) \
    VANTOR_LOG(ANDROID_LOG_ERROR, function, line, format, ##__VA_ARGS__)
