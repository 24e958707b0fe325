// Which window sums can a block have?  Those of ten luma values: kernel tests draw the values and add them up here, so that
// sums and sums of squares always belong together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KernelCases.h"
#include "SeededRandom.h"
#include "detector/kernels/Background.h"

struct WindowSumsOfBlocks {
    Kit::KernelPlane<float> first, second, center, firstSquare, secondSquare, centerSquare;

    MD::Kernels::WindowSums At(const Kit::KernelCase& c) {
        return {.firstSum = first.At(c),
                .secondSum = second.At(c),
                .centerSum = center.At(c),
                .firstSquareSum = firstSquare.At(c),
                .secondSquareSum = secondSquare.At(c),
                .centerSquareSum = centerSquare.At(c)};
    }

    // Black, white, or mostly quiet blocks: flat, noisy, one step in brightness, and now and then anything.
    void Fill(const Kit::KernelCase& c, Kit::SeededRandom& random) {
        for (std::size_t i = 0; i < c.size; ++i) {
            int luma[10];  // of age 0 to 9
            const int base = random.Between(20, 230), amplitude = random.Between(0, 4), step = random.Between(-2, 2);
            const int stepAge = random.Between(0, 10);
            const bool isAnything = random.OneIn(8);
            for (int age = 0; age < 10; ++age) {
                const int drawn =
                    isAnything ? random.Byte() : base + random.Between(0, amplitude) + (age < stepAge ? step : 0);
                luma[age] = c.level == Kit::Level::Low ? 0 : c.level == Kit::Level::High ? 255 : drawn;
            }
            SumUp(luma, 0, first(c, i), firstSquare(c, i));
            SumUp(luma, 5, second(c, i), secondSquare(c, i));
            SumUp(luma, 2, center(c, i), centerSquare(c, i));
        }
    }

private:
    static void SumUp(const int (&luma)[10], int firstAge, float& sum, float& squareSum) {
        int total = 0, squares = 0;
        for (int age = firstAge; age < firstAge + 5; ++age) {
            total += luma[age];
            squares += luma[age] * luma[age];
        }
        sum = static_cast<float>(total);
        squareSum = static_cast<float>(squares);
    }
};
