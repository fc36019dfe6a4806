#pragma once

/// A slider's whole steps laid over a spin box's range, whatever that is. Any thread.
struct LedScale {
    double spinMinimum;
    double spinMaximum;
    int sliderMinimum;
    int sliderMaximum;

    /// The minimum where the slider has but one step.
    [[nodiscard]] constexpr double toSpin(int slider) const {
        if (sliderMaximum == sliderMinimum)
            return spinMinimum;
        return spinMinimum + (spinMaximum - spinMinimum) * static_cast<double>(slider - sliderMinimum) /
                                 static_cast<double>(sliderMaximum - sliderMinimum);
    }

    /// The step at or below the value; the first one where the spin box has but one value.
    [[nodiscard]] constexpr int toSlider(double spin) const {
        if (!(spinMaximum > spinMinimum))
            return sliderMinimum;
        return static_cast<int>(static_cast<double>(sliderMaximum - sliderMinimum) * (spin - spinMinimum) /
                                (spinMaximum - spinMinimum)) +
               sliderMinimum;
    }
};
