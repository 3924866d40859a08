#include <tools/compare/CurvePoints.hpp>

namespace logging2::tools {

CurvePoints::CurvePoints(SampleSource& sampleSource, const CurveShape& curveShape)
    : source(sampleSource),
      width(curveShape.width),
      holds(curveShape.holds) {
    loadNext();
}

bool CurvePoints::loadUntil(std::size_t number) {
    while (number >= end() && !hasEnded) {
        loadNext();
    }
    return number < end();
}

void CurvePoints::loadNext() {
    const Sample* const sample = ordered ? source.next() : nullptr;
    if (sample == nullptr) {
        hasEnded = true;
        return;
    }
    const bool ascends = points.empty() || points.back().time <= sample->time;
    ordered = std::isfinite(sample->time) && ascends;
    if (!ordered) {
        hasEnded = true;
        return;
    }
    if (holds && !points.empty() && points.back().time < sample->time) {
        hold(sample->time);
    }
    append(sample->time, sample->step);
    for (const double value : sample->values) {
        values.append(value);
    }
}

void CurvePoints::append(double time, std::size_t step) {
    const double perTime = points.empty() ? 0 : 1 / (time - points.back().time);
    points.append({time, perTime, step});
}

/// Appends a point at this time with the values of the last one.
void CurvePoints::hold(double time) {
    append(time, points.back().step);
    for (std::size_t element = 0; element < width; ++element) {
        const double value = values[values.end() - width];
        values.append(value);
    }
}

} // namespace logging2::tools
