#include "qvstreet/frontend/filter_1d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "qvstreet/platform/pel_ops.h"

namespace {

using Gauss = qvGaussST1D<double, double>;
using Derivative = qvDiffOfGauss1D<double, double>;

template <typename T>
qvPelBuffer<T> rowOf(const std::vector<T>& values) {
    qvPelBuffer<T> row(static_cast<long>(values.size()), 1, 32);
    for (std::size_t i = 0; i < values.size(); ++i) row.put(static_cast<long>(i), 0, values[i]);
    return row;
}

/// Values of both signs whose sums depend on the order of adding.
qvPelBuffer<double> roughRow(long width) {
    qvPelBuffer<double> row(width, 1, 32);
    for (long i = 0; i < width; ++i)
        row.put(i, 0, std::ldexp(static_cast<double>(i * 37 % 101) - 50.3, static_cast<int>(i % 7 * 3)));
    return row;
}

/// The sum as it reads, in order of the coefficients.
double innerProduct(const qvPelBuffer_const<double>& kernel, const qvPelBuffer_const<double>& source, long k) {
    double sum = 0.0;
    for (long i = 0; i < kernel.width(); ++i) sum += kernel.get(i, 0) * source.get(k + i, 0);
    return sum;
}

/// Changes no width, so that `fixDestWindow` is all it does; and one that shortens by 3, unlike any kernel.
class WindowOnly : public qvFilter1D<double, double, long> {
 public:
    explicit WindowOnly(long reduction) : reduction_(reduction) {}
    std::unique_ptr<qvFilter1D<double, double, long>> clone() const override {
        return std::make_unique<WindowOnly>(*this);
    }
    long applyFilter(const qvPelBuffer_const<double>& source, qvPelBuffer<double>& dest) const override {
        fixDestWindow(source, dest);
        return source.width();
    }
    double filterOffset() const override { return 0.5; }
    long sizeReduction() const override { return reduction_; }
    double filterGain() const override { return 1.0; }

 private:
    long reduction_;
};

}  // namespace

TEST(GaussST1D, HalfWidthIsFourSigmaTruncatedAndAtLeastOne) {
    const double sigmas[] = {3.0, 10.0, 5.0, 0.24, 0.25, 0.49, 0.5, 2.99, -3.0};
    const long widths[] = {25, 81, 41, 3, 3, 3, 5, 23, 3};
    for (int i = 0; i < 9; ++i) {
        const Gauss filter(sigmas[i]);
        EXPECT_EQ(widths[i], filter.kernel().width()) << sigmas[i];
        EXPECT_EQ(1, filter.kernel().height());
        EXPECT_EQ(widths[i] - 1, filter.sizeReduction()) << sigmas[i];
        EXPECT_EQ(static_cast<double>(widths[i] / 2) + 0.5, filter.filterOffset()) << sigmas[i];
        EXPECT_EQ(1.0, filter.filterGain());
    }
}

TEST(GaussST1D, CoefficientsAreTheGaussianDividedByItsSum) {
    // exp(-2) = 0.13533528323661270 and exp(-8) = 0.00033546262790251184 beside a middle of 1.
    const double sum = 1.2713414917290304;
    const qvPelBuffer_const<double> kernel = Gauss(0.5).kernel();
    ASSERT_EQ(5, kernel.width());
    EXPECT_NEAR(0.00033546262790251184 / sum, kernel.get(0, 0), 1e-18);
    EXPECT_NEAR(0.13533528323661270 / sum, kernel.get(1, 0), 1e-16);
    EXPECT_NEAR(1.0 / sum, kernel.get(2, 0), 1e-15);
    EXPECT_EQ(kernel.get(1, 0), kernel.get(3, 0));
    EXPECT_EQ(kernel.get(0, 0), kernel.get(4, 0));
}

TEST(GaussST1D, CoefficientsSumToOne) {
    for (const double sigma : {0.1, 0.7, 3.0, 5.0, 10.0}) {
        const qvPelBuffer_const<double> kernel = Gauss(sigma).kernel();
        double sum = 0.0;
        for (long i = 0; i < kernel.width(); ++i) sum += kernel.get(i, 0);
        EXPECT_NEAR(1.0, sum, 1e-15) << sigma;
    }
}

TEST(GaussST1D, SigmaOfZeroHasNoMiddle) {
    const qvPelBuffer_const<double> kernel = Gauss(0.0).kernel();
    ASSERT_EQ(3, kernel.width());
    EXPECT_EQ(0.0, kernel.get(0, 0));
    EXPECT_TRUE(std::isnan(kernel.get(1, 0)));
}

TEST(GaussST1D, KernelBeyond32BitsIsRefused) {
    EXPECT_THROW(Gauss(1e9), qvPel::BadSize);
    EXPECT_THROW(Derivative(1e300), qvPel::BadSize);
}

TEST(DiffOfGauss1D, HasTheSizeOfTheGaussian) {
    const Derivative filter(3.0);
    EXPECT_EQ(25, filter.kernel().width());
    EXPECT_EQ(12.5, filter.filterOffset());
    EXPECT_EQ(24, filter.sizeReduction());
    EXPECT_EQ(1.0, filter.filterGain());
    EXPECT_EQ(3, Derivative(0.1).kernel().width());
}

TEST(DiffOfGauss1D, MagnitudesOfEachHalfSumToOne) {
    for (const double sigma : {0.3, 3.0, 5.0}) {
        const qvPelBuffer_const<double> kernel = Derivative(sigma).kernel();
        const long n = kernel.width() / 2;
        double left = 0.0;
        double right = 0.0;
        for (long i = 0; i < n; ++i) {
            left += std::fabs(kernel.get(i, 0));
            right += std::fabs(kernel.get(n + 1 + i, 0));
        }
        EXPECT_NEAR(1.0, left, 1e-15) << sigma;
        EXPECT_NEAR(1.0, right, 1e-15) << sigma;
    }
}

TEST(DiffOfGauss1D, IsOddWithANegativeLeftHalf) {
    // Sigma 0.5: -2 exp(-8) and -exp(-2) before division by their sum 0.13600620849241772.
    const qvPelBuffer_const<double> kernel = Derivative(0.5).kernel();
    ASSERT_EQ(5, kernel.width());
    EXPECT_NEAR(-2.0 * 0.00033546262790251184 / 0.13600620849241772, kernel.get(0, 0), 1e-16);
    EXPECT_NEAR(-0.13533528323661270 / 0.13600620849241772, kernel.get(1, 0), 1e-15);
    EXPECT_EQ(0.0, kernel.get(2, 0));
    EXPECT_EQ(-kernel.get(1, 0), kernel.get(3, 0));
    EXPECT_EQ(-kernel.get(0, 0), kernel.get(4, 0));
}

TEST(DiffOfGauss1D, KernelIsNotReversedSoARiseIsPositive) {
    std::vector<double> step(11, 0.0);
    for (std::size_t i = 5; i < step.size(); ++i) step[i] = 1.0;
    qvPelBuffer<double> edges;
    Derivative(0.5).applyFilter(rowOf(step), edges);
    ASSERT_EQ(7, edges.width());
    EXPECT_EQ(0.0, edges.get(0, 0));
    EXPECT_NEAR(1.0, edges.get(2, 0), 1e-15);  // middle of the kernel on sample 4, its right half on ones
    EXPECT_NEAR(1.0, edges.get(3, 0), 1e-15);
    EXPECT_NEAR(0.0, edges.get(6, 0), 1e-15);
}

TEST(Convolve1D, OutputKStartsAtInputK) {
    std::vector<double> impulse(12, 0.0);
    impulse[6] = 1.0;
    const Gauss filter(0.5);
    qvPelBuffer<double> result;
    EXPECT_EQ(12, filter.applyFilter(rowOf(impulse), result));
    ASSERT_EQ(8, result.width());
    // Output k has coefficient 6 - k on the impulse.
    for (long k = 0; k < 8; ++k)
        EXPECT_EQ(k >= 2 && k <= 6 ? filter.kernel().get(6 - k, 0) : 0.0, result.get(k, 0)) << k;
}

TEST(Convolve1D, EveryOutputIsAddedUpInOrderOfTheCoefficients) {
    for (const long width : {25L, 26L, 31L, 32L, 33L, 540L}) {
        const qvPelBuffer<double> source = roughRow(width);
        const Derivative filter(3.0);
        qvPelBuffer<double> result;
        EXPECT_EQ(width, filter.applyFilter(source, result));
        ASSERT_EQ(width - 24, result.width());
        for (long k = 0; k < result.width(); ++k)
            ASSERT_EQ(innerProduct(filter.kernel(), source, k), result.get(k, 0)) << width << ", " << k;
    }
}

TEST(Convolve1D, SourceAsWideAsTheKernelGivesOneValue) {
    qvPelBuffer<double> result;
    EXPECT_EQ(25, Gauss(3.0).applyFilter(rowOf(std::vector<double>(25, 7.0)), result));
    ASSERT_EQ(1, result.width());
    EXPECT_NEAR(7.0, result.get(0, 0), 1e-14);
}

TEST(Convolve1D, SourceIsReadFromItsWindow) {
    qvPelBuffer<double> view = rowOf<double>({9, 9, 1, 2, 4, 8, 9});
    view.offset(-50, 3);
    ASSERT_TRUE(view.window(-48, 3, 4, 1, false));
    qvPelBuffer<double> result;
    const Derivative filter(0.1);  // (-1, 0, 1)
    EXPECT_EQ(4, filter.applyFilter(view, result));
    ASSERT_EQ(2, result.width());
    EXPECT_EQ(3.0, result.get(0, 0));
    EXPECT_EQ(6.0, result.get(1, 0));
}

TEST(Convolve1D, CountsAreConvertedToDoubles) {
    const qvGaussST1D<unsigned long, double> filter(0.5);
    qvPelBuffer<double> result;
    EXPECT_EQ(9, filter.applyFilter(rowOf<unsigned long>({0, 0, 0, 0, 4000000000UL, 0, 0, 0, 0}), result));
    ASSERT_EQ(5, result.width());
    for (long k = 0; k < 5; ++k) EXPECT_EQ(4e9 * filter.kernel().get(4 - k, 0), result.get(k, 0));
}

TEST(Convolve1D, SourceAndDestinationMayShareTheirPels) {
    const qvPelBuffer<double> source = roughRow(40);
    const qvPelBuffer<double> original = qfPelCopy<double>(source);
    const Gauss filter(2.0);
    qvPelBuffer<double> dest = source;
    filter.applyFilter(source, dest);
    for (long k = 0; k < dest.width(); ++k) ASSERT_EQ(innerProduct(filter.kernel(), original, k), dest.get(k, 0)) << k;
}

TEST(Filter1D, UnboundSourceIsRefused) {
    qvPelBuffer<double> dest;
    EXPECT_THROW(Gauss(0.1).applyFilter(qvPelBuffer<double>(), dest), qvFiltErr::BadImageSize);
    EXPECT_FALSE(dest.isBound());
}

TEST(Filter1D, SourceOfTwoRowsIsRefused) {
    qvPelBuffer<double> source(30, 2, 32);
    qfPelSet(source, 1.0);
    qvPelBuffer<double> dest;
    EXPECT_THROW(Gauss(0.1).applyFilter(source, dest), qvFiltErr::BadImageSize);
}

TEST(Filter1D, SourceNotWiderThanTheSizeReductionIsRefused) {
    qvPelBuffer<double> dest;
    for (const long width : {1L, 23L, 24L})
        EXPECT_THROW(Gauss(3.0).applyFilter(roughRow(width), dest), qvFiltErr::BadImageSize) << width;
    EXPECT_NO_THROW(Gauss(3.0).applyFilter(roughRow(25), dest));
    EXPECT_THROW(Gauss(3.0).applyFilter(roughRow(24), dest), qvFiltErr::Errors);
}

TEST(Filter1D, RefusedSourceLeavesTheDestination) {
    qvPelBuffer<double> dest(50, 1, 32);
    EXPECT_THROW(Gauss(3.0).applyFilter(roughRow(24), dest), qvFiltErr::BadImageSize);
    EXPECT_EQ(50, dest.width());
}

TEST(Filter1D, WiderDestinationIsCutToItsFirstPelsAndKeepsItsMemory) {
    qvPelBuffer<double> dest(20, 3, 32);
    qfPelSet(dest, -1.0);
    const qvPelBuffer<double> whole = dest;
    const Gauss filter(0.1);
    filter.applyFilter(rowOf(std::vector<double>(9, 5.0)), dest);
    EXPECT_EQ(7, dest.width());
    EXPECT_EQ(1, dest.height());
    EXPECT_EQ(whole.pointToOffset(), dest.pointToOffset());
    EXPECT_NEAR(5.0, whole.get(6, 0), 1e-15);
    EXPECT_EQ(-1.0, whole.get(7, 0));
    EXPECT_EQ(-1.0, whole.get(0, 1));
}

TEST(Filter1D, DestinationReusedFromAWiderRunStartsWithOutputZero) {
    const Gauss filter(1.0);
    qvPelBuffer<double> dest;
    filter.applyFilter(roughRow(60), dest);
    const double* const memory = dest.pointToOffset();
    const qvPelBuffer<double> shorter = roughRow(31);
    filter.applyFilter(shorter, dest);
    EXPECT_EQ(memory, dest.pointToOffset());
    ASSERT_EQ(23, dest.width());
    EXPECT_EQ(innerProduct(filter.kernel(), shorter, 0), dest.get(0, 0));
}

TEST(Filter1D, DestinationOfTheSameWidthIsLeft) {
    qvPelBuffer<double> dest(6, 2, 32);
    const double* const memory = dest.pointToOffset();
    WindowOnly(3).applyFilter(roughRow(9), dest);
    EXPECT_EQ(memory, dest.pointToOffset());
    EXPECT_EQ(6, dest.width());
    EXPECT_EQ(2, dest.height());
}

TEST(Filter1D, NarrowerOrUnboundDestinationBecomesANewRow) {
    const qvPelBuffer<double> narrow(5, 2, 32);
    qvPelBuffer<double> dest = narrow;
    EXPECT_EQ(9, WindowOnly(3).applyFilter(roughRow(9), dest));
    EXPECT_NE(narrow.pointToOffset(), dest.pointToOffset());
    EXPECT_EQ(6, dest.width());
    EXPECT_EQ(1, dest.height());
    qvPelBuffer<double> unbound;
    WindowOnly(0).applyFilter(roughRow(9), unbound);
    EXPECT_EQ(9, unbound.width());
    EXPECT_EQ(1, unbound.height());
}

TEST(Filter1D, CloneIsACopyOfTheMostDerivedClass) {
    std::unique_ptr<qvFilter1D<double, double, long>> copy;
    qvPelBuffer<double> expected;
    const qvPelBuffer<double> source = roughRow(40);
    {
        const Derivative original(2.0);
        original.applyFilter(source, expected);
        copy = original.clone();
    }
    EXPECT_NE(nullptr, dynamic_cast<Derivative*>(copy.get()));
    EXPECT_EQ(8.5, copy->filterOffset());
    EXPECT_EQ(16, copy->sizeReduction());
    EXPECT_EQ(1.0, copy->filterGain());
    qvPelBuffer<double> actual;
    EXPECT_EQ(40, copy->applyFilter(source, actual));
    for (long k = 0; k < 24; ++k) EXPECT_EQ(expected.get(k, 0), actual.get(k, 0));
    EXPECT_NE(nullptr, dynamic_cast<Gauss*>(Gauss(1.0).clone().get()));
    EXPECT_NE(
        nullptr,
        (dynamic_cast<qvGaussST1D<unsigned long, double>*>(qvGaussST1D<unsigned long, double>(1.0).clone().get())));
}

TEST(Filter1D, CopiesShareTheKernel) {
    const Gauss original(2.0);
    const Gauss copy = original;
    EXPECT_EQ(original.kernel().pointToOffset(), copy.kernel().pointToOffset());
    EXPECT_EQ(original.filterOffset(), copy.filterOffset());
}

TEST(Filter1D, ArchiveHoldsAVersionByteOncePerObject) {
    std::ostringstream stream;
    Gauss narrow(3.0);
    Derivative wide(10.0);
    {
        qvArchive archive(stream);
        archive || narrow;
        archive || wide;
        archive || narrow;
    }
    EXPECT_EQ(std::string(2, '\0'), stream.str());
}

TEST(Filter1D, LoadingKeepsTheKernel) {
    std::istringstream stream(std::string(1, '\0'));
    qvArchive archive(static_cast<std::istream&>(stream));
    Gauss filter(3.0);
    const double* const kernel = filter.kernel().pointToOffset();
    archive || filter;
    EXPECT_EQ(kernel, filter.kernel().pointToOffset());
    EXPECT_EQ(25, filter.kernel().width());
    EXPECT_EQ(12.5, filter.filterOffset());
}

TEST(Filter1D, OtherVersionInTheArchiveIsRefused) {
    std::istringstream stream(std::string(1, '\1'));
    qvArchive archive(static_cast<std::istream&>(stream));
    Gauss filter(3.0);
    try {
        archive || filter;
        FAIL() << "no exception";
    } catch (const qvArchive::UnknownVersion& error) {
        EXPECT_EQ("qvFilter1D", error.className());
        EXPECT_EQ(0, error.version());
    }
}

TEST(DiffOfGauss1D, SigmaWhoseWeightsVanishFiltersToZero) {
    // exp(-1 / (2 * 0.01 * 0.01)) is below every double.
    const qvPelBuffer_const<double> kernel = Derivative(0.01).kernel();
    ASSERT_EQ(3, kernel.width());
    for (long i = 0; i < 3; ++i) EXPECT_EQ(0.0, kernel.get(i, 0)) << i;
}
