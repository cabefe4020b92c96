#include "runtime/host.h"

#include <utility>

#include "runtime/entry_points.h"
#include "runtime/host_state.h"
#include "runtime/pictures.h"
#include "runtime/strings.h"

namespace qrv::runtime {

namespace {

HostState* currentHost = nullptr;

}  // namespace

HostState* CurrentHost() { return currentHost; }

Host::Host(HostOptions options) : state_(std::make_unique<HostState>()) {
  state_->options = std::move(options);
  if (state_->options.missing.contains(REALGetRBVersionName)) state_->options.version.reset();
  currentHost = state_.get();
}

Host::~Host() {
  if (currentHost == state_.get()) currentHost = nullptr;
  for (REALobjectStruct* object : state_->objects) delete object;
  for (REALstringStruct* string : state_->strings) delete string;
}

void Host::StartPlugin(REALPluginMainFunction pluginMain) { pluginMain(ResolveEntryPoint); }

int Host::interfaceVersion() const { return state_->interfaceVersion; }

const std::vector<RegisteredMethod>& Host::methods() const { return state_->methods; }

REALstringStruct* Host::NewString(std::string_view bytes, uint32_t encoding) {
  return Guarded([&] { return MakeString(*state_, bytes, encoding); });
}

std::string_view Host::Bytes(const REALstringStruct* string) {
  return string == nullptr ? std::string_view()
                           : std::string_view(string->Bytes(), static_cast<size_t>(string->length));
}

uint32_t Host::Encoding(const REALstringStruct* string) {
  return string == nullptr ? 0 : string->encoding;
}

long Host::References(const REALstringStruct* string) {
  return string == nullptr ? 0 : string->head.referenceCount;
}

long Host::References(const REALpictureStruct* picture) {
  return picture == nullptr ? 0 : picture->references;
}

void Host::Release(REALstringStruct* string) {
  if (string != nullptr) DropReference(*state_, string);
}

void Host::Release(REALpictureStruct* picture) {
  if (picture != nullptr) DropReference(*state_, picture);
}

Image Host::Read(const REALpictureStruct* picture) {
  return Guarded([=] {
    Image image{Width(picture), Height(picture), {}};
    const size_t rowLength = static_cast<size_t>(image.width) * 4;
    image.rgba.resize(rowLength * static_cast<size_t>(image.height));
    for (int32_t y = 0; y < image.height; ++y) {
      ReadPictureRow(*picture, y, image.rgba.data() + static_cast<size_t>(y) * rowLength);
    }
    return image;
  });
}

void Host::ReadRow(const REALpictureStruct* picture, int32_t y, uint8_t* rgba) {
  ReadPictureRow(*picture, y, rgba);
}

int32_t Host::Width(const REALpictureStruct* picture) {
  return picture == nullptr ? 0 : picture->width;
}

int32_t Host::Height(const REALpictureStruct* picture) {
  return picture == nullptr ? 0 : picture->height;
}

bool Host::MayBeTransparent(const REALpictureStruct* picture) {
  return picture != nullptr && (picture->mask != nullptr || picture->hasAlpha);
}

REALpictureStruct* Host::Mask(const REALpictureStruct* picture) {
  return picture == nullptr ? nullptr : picture->mask;
}

const Ledger& Host::ledger() const { return state_->ledger; }

void* Host::FindMethod(std::string_view declaration) const {
  for (const RegisteredMethod& method : state_->methods) {
    if (method.declaration == declaration) return method.function;
  }
  return nullptr;
}

}  // namespace qrv::runtime
