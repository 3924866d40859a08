#include <tests/tools/compare/VectorSource.hpp>
#include <tools/compare/Polyline.hpp>
#include <tools/compare/compare_tubes.hpp>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>

// Prints what a picture of a comparison shows. The standard input has the lines
//   tube ALLOWED TIME linear|hold
//   a TIME VALUE                    a sample of the reference, in ascending order
//   b TIME VALUE                    a sample of the other signal
// The output has lines `edge TIME LEAST GREATEST` for the tube of a, `outside TIME VALUE` for the
// values of each signal that are outside the tube of the other one at the samples of both, and in
// the end `same` or `differs`.

namespace logging2::tools {
namespace {

constexpr int edgeCount = 400;
constexpr double far = 1000; // from all values

struct Picture {
    TubeSettings settings;
    TestSamples a;
    TestSamples b;

    CurveShape shape() const { return {1, settings.holds, settings.timeTolerance}; }
};

Picture read_picture(std::istream& input) {
    Picture picture;
    picture.settings.allowed.resize(1);
    for (std::string word; input >> word;) {
        if (word == "tube") {
            input >> picture.settings.allowed[0] >> picture.settings.timeTolerance >> word;
            picture.settings.holds = word == "hold";
        } else {
            TestSample sample{0, {0}};
            input >> sample.time >> sample.values[0];
            (word == "a" ? picture.a : picture.b).push_back(sample);
        }
    }
    return picture;
}

void print_edges(const Picture& picture) {
    VectorSource source(picture.a);
    Polyline a(source, picture.shape());
    const double begin = picture.a.front().time;
    const double end = picture.a.back().time;
    for (int i = 0; i <= edgeCount; ++i) {
        const double time = begin + (end - begin) * i / edgeCount;
        a.moveTo(time);
        const double greatest = far - a.deviationOf(far, 0).value();
        const double least = a.deviationOf(-far, 0).value() - far;
        std::cout << "edge " << time << ' ' << least - picture.settings.allowed[0] << ' '
                  << greatest + picture.settings.allowed[0] << '\n';
    }
}

void print_outside(const Polyline& own, const Polyline& other, double time, double allowed) {
    for (std::size_t index = 0; index < own.valueCount(); ++index) {
        const double value = own.value(index, 0);
        if (other.deviationOf(value, 0).value_or(far) > allowed) {
            std::cout << "outside " << time << ' ' << value << '\n';
        }
    }
}

void print_outside(const Picture& picture) {
    VectorSource sourceA(picture.a);
    VectorSource sourceB(picture.b);
    Polyline a(sourceA, picture.shape());
    Polyline b(sourceB, picture.shape());
    while (std::isfinite(std::min(a.nextTime(), b.nextTime()))) {
        const double time = std::min(a.nextTime(), b.nextTime());
        a.moveTo(time);
        b.moveTo(time);
        print_outside(a, b, time, picture.settings.allowed[0]);
        print_outside(b, a, time, picture.settings.allowed[0]);
    }
}

void print_result(const Picture& picture) {
    VectorSource a(picture.a);
    VectorSource b(picture.b);
    const bool differs = compare_tubes(a, b, picture.settings).value().differs();
    std::cout << (differs ? "differs" : "same") << '\n';
}

} // namespace
} // namespace logging2::tools

int main() {
    const logging2::tools::Picture picture = logging2::tools::read_picture(std::cin);
    logging2::tools::print_edges(picture);
    logging2::tools::print_outside(picture);
    logging2::tools::print_result(picture);
}
