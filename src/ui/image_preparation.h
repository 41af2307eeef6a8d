#pragma once

#include <thread>

#include "ui/gdiplus_objects.h"

// The brand's images as the window shows them, from window_painter.h.
struct WindowImages {
    OwnedBitmap backdrop;
    OwnedBitmap panelLogo;  // Null when the logo is missing or cannot be decoded.
};

// Prepares the images embedded in this program on a thread of its own, because decoding and scaling
// take about as long as creating the window, which needs the images only for its first paint. The
// window thread owns this object, and the images once it has taken them.
class ImagePreparation {
public:
    // Starts the thread. Ends the program if the system provides none.
    ImagePreparation() noexcept;
    // Waits for the thread.
    ~ImagePreparation();
    ImagePreparation(const ImagePreparation&) = delete;
    ImagePreparation& operator=(const ImagePreparation&) = delete;

    // Waits until the images are ready. Once only.
    [[nodiscard]] WindowImages Take();

private:
    WindowImages images_;  // Belongs to the thread until it is joined.
    std::thread thread_;
};
