#include "ui/backdrop_preparation.h"

#include <utility>

#include "common/resources.h"
#include "resource_ids.h"
#include "ui/window_painter.h"

namespace {

OwnedBitmap PrepareBackdrop() {
    const OwnedBitmap background = MakeBitmapFromFile(EmbeddedData(nullptr, ID_BACKGROUND_IMAGE));
    return MakeBackdrop(background.get());
}

}  // namespace

BackdropPreparation::BackdropPreparation() noexcept
    : thread_([this] { backdrop_ = PrepareBackdrop(); }) {}

BackdropPreparation::~BackdropPreparation() {
    if (thread_.joinable()) {
        thread_.join();
    }
}

OwnedBitmap BackdropPreparation::Take() {
    thread_.join();
    return std::move(backdrop_);
}
