#pragma once

#include <thread>

#include "ui/gdiplus_objects.h"

// Prepares the backdrop from the background image embedded in this program, on another thread:
// decoding and scaling take about as long as creating the window, which needs the backdrop only for
// its first paint. The window thread owns this object, and the backdrop once it has taken it.
class BackdropPreparation {
public:
    // Starts the thread. Ends the program if the system provides none.
    BackdropPreparation() noexcept;
    // Waits for the thread.
    ~BackdropPreparation();
    BackdropPreparation(const BackdropPreparation&) = delete;
    BackdropPreparation& operator=(const BackdropPreparation&) = delete;

    // Waits until the backdrop is ready. Once only.
    [[nodiscard]] OwnedBitmap Take();

private:
    OwnedBitmap backdrop_;  // Belongs to the thread until it is joined.
    std::thread thread_;
};
