// The arithmetic below the tables: the transform, the trigonometric functions, the monotone join.

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tools/tables/Fourier.h"
#include "tools/tables/MonotoneCurve.h"
#include "tools/tables/Turn.h"

namespace {
constexpr double kTurn = 2.0 * std::numbers::pi;

TEST(Turn, AgreesWithTheMathematicalLibrary)
{
    for (int i = 0; i <= 1000; ++i) {
        const double turn = i / 1000.0;
        EXPECT_NEAR(PointAtTurn(turn).cosine, std::cos(kTurn * turn), 2e-15) << turn;
        EXPECT_NEAR(PointAtTurn(turn).sine, std::sin(kTurn * turn), 2e-15) << turn;
    }
    EXPECT_EQ(PointAtTurn(0.25).sine, 1.0);
    EXPECT_EQ(PointAtTurn(0.5).cosine, -1.0);
}

TEST(RaisedCosine, Is1InTheMiddleAnd0AtAndBeyondTheEnds)
{
    EXPECT_EQ(RaisedCosine(50, 100), 1.0);
    EXPECT_NEAR(RaisedCosine(25, 100), 0.5, 1e-15);
    for (const double position : {-1.0, 0.0, 100.0, 150.0}) {
        EXPECT_EQ(RaisedCosine(position, 100), 0.0);
    }
}

TEST(Fourier, SumsEveryLineAtEverySample)
{
    for (const std::size_t length : {1U, 2U, 12U, 130U, 325U}) {
        std::vector<Complex> spectrum(length);
        for (std::size_t k = 0; k < length; ++k) {
            spectrum[k] = {1.0 / static_cast<double>(k + 1), static_cast<double>(k % 3)};
        }
        const std::vector<Complex> samples = Fourier(length).ToSamples(spectrum);
        for (std::size_t n = 0; n < length; ++n) {
            Complex sum;
            for (std::size_t k = 0; k < length; ++k) {
                const double angle =
                    kTurn * static_cast<double>(n * k % length) / static_cast<double>(length);
                const auto& [real, imaginary] = spectrum[k];
                sum.real += real * std::cos(angle) - imaginary * std::sin(angle);
                sum.imaginary += real * std::sin(angle) + imaginary * std::cos(angle);
            }
            ASSERT_NEAR(samples[n].real, sum.real, 1e-9) << n << " of " << length;
            ASSERT_NEAR(samples[n].imaginary, sum.imaginary, 1e-9) << n << " of " << length;
        }
    }
}

TEST(LineEnergies, AreTheMeanSquaresOfTheLines)
{
    constexpr std::size_t kLength = 60;
    std::vector<double> samples;
    for (std::size_t i = 0; i < kLength; ++i) {
        samples.push_back(5.0 + 3.0 * std::sin(kTurn * 7.0 * static_cast<double>(i) / kLength) +
                          (i % 2 == 0 ? 2.0 : -2.0));
    }
    const std::vector<double> energies = LineEnergies(Fourier(kLength), samples);
    ASSERT_EQ(energies.size(), 31U);
    EXPECT_NEAR(energies[0], 25.0, 1e-9);
    EXPECT_NEAR(energies[7], 4.5, 1e-9);
    EXPECT_NEAR(energies[30], 4.0, 1e-9);
    EXPECT_NEAR(energies[8], 0.0, 1e-9);
}

TEST(MonotoneCurve, MeetsItsPointsAndStaysBetweenNeighbours)
{
    const std::vector<CurvePoint> points{{0, 0}, {1, 1}, {2, 100}, {5, 101}, {6, -3}, {9, -3}};
    const MonotoneCurve curve(points);
    for (const CurvePoint& point : points) EXPECT_EQ(curve.At(point.x), point.y);
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        double before = points[i].y;
        const double direction = points[i + 1].y < before ? -1.0 : 1.0;
        for (double part = 0.1; part < 1.0; part += 0.1) {
            const double value = curve.At(points[i].x + part * (points[i + 1].x - points[i].x));
            EXPECT_GE(direction * (value - before), -1e-9) << i << " " << part;
            before = value;
        }
        EXPECT_GE(direction * (points[i + 1].y - before), -1e-9) << i;
    }
    EXPECT_EQ(curve.At(-5), 0.0);
    EXPECT_EQ(curve.At(50), -3.0);
}
}  // namespace
