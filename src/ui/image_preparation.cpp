#include "ui/image_preparation.h"

#include <utility>

#include "common/resources.h"
#include "resource_ids.h"
#include "ui/window_painter.h"

namespace {

OwnedBitmap DecodeImage(int id) {
    return MakeBitmapFromFile(EmbeddedData(nullptr, id));
}

WindowImages PrepareImages() {
    return {MakeBackdrop(DecodeImage(ID_BACKGROUND_IMAGE).get()),
            MakePanelLogo(DecodeImage(ID_LOGO_IMAGE).get())};
}

}  // namespace

ImagePreparation::ImagePreparation() noexcept : thread_([this] { images_ = PrepareImages(); }) {}

ImagePreparation::~ImagePreparation() {
    if (thread_.joinable()) {
        thread_.join();
    }
}

WindowImages ImagePreparation::Take() {
    thread_.join();
    return std::move(images_);
}
