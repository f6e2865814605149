// The door to measures of one surface and comparisons of two: checks arguments and runs the passes as jobs.
#include "qor/texsmith/raw/comparison.h"
#include "qor/texsmith/raw/matrix.h"
#include "qor/texsmith/raw/statistics.h"
#include "raw/configuration/check_configuration.h"
#include "raw/configuration/restored_transform.h"

#include <cmath>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\analysis";
constexpr int kRounds = 8;                    // of power iteration for one axis
constexpr float kLeastLength = 1.5259022e-5f; // about 1 / 65535

Error runOverTiles(const ElementProvider* source, PerTile* perTile, Configuration* configuration) {
    PerTileJob job(source, perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

VectorFloat negated(const VectorFloat& v) { return {{-v[0], -v[1], -v[2], -v[3]}}; }

float lengthOf(const VectorFloat& v) {
    return std::sqrt(((v[0] * v[0] + v[1] * v[1]) + v[2] * v[2]) + v[3] * v[3]);
}

// Turns `v` to the axis of most variance and makes it as long as one. False where there is no variance, and
// where sums are no numbers.
bool iterate(VectorFloat* v, const Matrix& covariance) {
    for (int round = 0; round < kRounds; ++round) {
        *v = covariance * *v;
        const float length = lengthOf(*v);
        if (!(length >= kLeastLength)) {
            return false;
        }
        for (float& lane : v->m_lanes) {
            lane /= length;
        }
    }
    return true;
}

// Takes what lies along `axis` out of what the transform gives.
void deflate(Matrix* transform, const VectorFloat& axis) {
    for (unsigned row = 0; row < 4; ++row) {
        for (unsigned lane = 0; lane < 4; ++lane) {
            (*transform)[row][lane] -= axis[lane] * axis[row];
        }
    }
}

// Finds one axis after the other. They stay zero from the first one without variance on.
Error findAxes(const ElementProvider* source, Madd* fromPca, Configuration* configuration) {
    for (unsigned axis = 0; axis < 4; ++axis) {
        MinMaxMean range;
        Error error = getMinMaxMean(source, &range, configuration);
        const VectorFloat mean = range.Mean();
        fromPca->m_add = axis == 0 ? mean : fromPca->m_add;
        Matrix covariance = {};
        CovariancePerTexel perTexel(&covariance, mean, source, configuration);
        error = error == kErrorNone ? runOverTiles(source, &perTexel, configuration) : error;
        if (error != kErrorNone) {
            return error;
        }
        VectorFloat v;
        for (unsigned lane = 0; lane < 4; ++lane) {
            v[lane] = range.max[lane] - range.min[lane];
        }
        if (!iterate(&v, covariance)) {
            break;
        }
        deflate(&configuration->m_decoderConfiguration.m_transform.m_multiply, v);
        fromPca->m_multiply[axis] = v;
    }
    return kErrorNone;
}

// Of a surface without texels nothing can be said.
void selectConstants(ElementProvider* source, const ConstantCounts& counts) {
    const unsigned long long pixels = source->getPixels();
    for (unsigned channel = 0; channel < 4 && pixels != 0; ++channel) {
        if (counts.m_zeros[channel] == pixels) {
            source->setChannelSelect(channel, Vex::kTextureChannel0);
        } else if (counts.m_ones[channel] == pixels) {
            source->setChannelSelect(channel, Vex::kTextureChannel1);
        }
    }
}

bool checkSourcesAndSettings(const ElementProvider* sourceA, const ElementProvider* sourceB,
                             const Configuration* configuration) {
    const bool hasA = checkNotNull(sourceA, kSourcePath, "sourceA must not be NULL.");
    const bool hasB = checkNotNull(sourceB, kSourcePath, "sourceB must not be NULL.");
    return checkJobManager(configuration, kSourcePath) && hasA && hasB;
}

bool checkAlike(const ElementProvider* a, const ElementProvider* b, const char* message) {
    const bool areAlike = dimensionsAndFormatAreIdentical(a, b);
    if (!areAlike) {
        toolsAssert(kSourcePath, __LINE__, message);
    }
    return areAlike;
}

} // namespace

Error getMinMaxMean(const ElementProvider* source, MinMaxMean* destMinMaxMean, Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasResult = checkNotNull(destMinMaxMean, kSourcePath, "destMinMaxMean must not be NULL.");
    if (!checkJobManager(configuration, kSourcePath) || !hasSource || !hasResult) {
        return kErrorFailed;
    }
    destMinMaxMean->Clear();
    MinMaxMeanPerTexel perTexel(destMinMaxMean, source, configuration);
    return runOverTiles(source, &perTexel, configuration);
}

Error getHistogram(const ElementProvider* source, Histogram* srcHistogram, const MinMax* srcMinMax,
                   Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasResult = checkNotNull(srcHistogram, kSourcePath, "srcHistogram must not be NULL.");
    const bool hasRange = checkNotNull(srcMinMax, kSourcePath, "srcMinMax must not be NULL.");
    if (!checkJobManager(configuration, kSourcePath) || !hasSource || !hasResult || !hasRange) {
        return kErrorFailed;
    }
    srcHistogram->Clear();
    HistogramPerTexel perTexel(srcHistogram, *srcMinMax, source, configuration);
    return runOverTiles(source, &perTexel, configuration);
}

Error getPca(const ElementProvider* elementProvider, Madd* fromPca, Madd* toPca,
             Configuration* configuration) {
    const bool hasProvider = checkNotNull(elementProvider, kSourcePath, "elementProvider must not be NULL.");
    const bool hasFrom = checkNotNull(fromPca, kSourcePath, "fromPca must not be NULL.");
    const bool hasTo = checkNotNull(toPca, kSourcePath, "toPca must not be NULL.");
    if (!checkJobManager(configuration, kSourcePath) || !hasProvider || !hasFrom || !hasTo) {
        return kErrorFailed;
    }
    *fromPca = {};
    const RestoredTransform restored(configuration);
    const Error error = findAxes(elementProvider, fromPca, configuration);
    toPca->m_multiply = MatrixTranspose(fromPca->m_multiply);
    toPca->m_add = toPca->m_multiply * negated(fromPca->m_add);
    return error;
}

Error markConstantChannels(ElementProvider* source, Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    if (!checkJobManager(configuration, kSourcePath) || !hasSource) {
        return kErrorFailed;
    }
    ConstantCounts counts = {};
    ConstantsPerTexel perTexel(&counts, source, configuration);
    const Error error = runOverTiles(source, &perTexel, configuration);
    if (error == kErrorNone) {
        selectConstants(source, counts);
    }
    return error;
}

Error compare(VectorFloat* result, const ElementProvider* sourceA, const ElementProvider* sourceB,
              Configuration* configuration, const SquaredErrorCalculator* calculator) {
    const bool hasResult = checkNotNull(result, kSourcePath, "result must not be NULL.");
    const bool hasSources = checkSourcesAndSettings(sourceA, sourceB, configuration);
    const bool hasCalculator = checkNotNull(calculator, kSourcePath, "calculator must not be NULL.");
    if (!hasResult || !hasSources || !hasCalculator) {
        return kErrorFailed;
    }
    const bool areAlike = dimensionsAreIdentical(sourceA, sourceB);
    if (!areAlike) {
        toolsAssert(kSourcePath, __LINE__, "sourceA and sourceB must have the same dimensions.");
    }
    *result = {};
    if (sourceA == sourceB) {
        return kErrorNone;
    }
    ErrorSummary summary = {};
    CalculateErrorPerTexel perTexel(&summary, sourceA, sourceB, configuration, calculator);
    const Error error = runOverTiles(sourceA, &perTexel, configuration);
    *result = summary.Mean();
    return areAlike ? error : kErrorFailed;
}

Error getAbsoluteDifference(ElementProvider* destination, const ElementProvider* sourceA,
                            const ElementProvider* sourceB, Configuration* configuration) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasSources = checkSourcesAndSettings(sourceA, sourceB, configuration);
    if (!hasDestination || !hasSources) {
        return kErrorFailed;
    }
    const bool isLikeA =
        checkAlike(destination, sourceA, "destination and sourceA must have the same dimensions and format.");
    const bool areAlike =
        checkAlike(sourceA, sourceB, "sourceA and sourceB must have the same dimensions and format.");
    CalculateAbsoluteDifferencePerTexel perTexel(destination, sourceA, sourceB, configuration);
    const Error error = runOverTiles(sourceA, &perTexel, configuration);
    return isLikeA && areAlike ? error : kErrorFailed;
}

} // namespace qor::Texsmith::Raw
