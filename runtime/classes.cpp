// The host language's classes, their instances, and the methods that a plug-in finds by
// declaration.

#include <string.h>

#include "runtime/entry_points.h"
#include "runtime/pictures.h"

namespace qrv::runtime {

namespace {

struct ApplicationClass {
  const char* name;
  ApplicationKind application;
};

constexpr ApplicationClass kApplicationClasses[] = {
    {REALDesktopApplicationClass, ApplicationKind::kDesktop},
    {REALWebApplicationClass, ApplicationKind::kWeb},
    {REALConsoleApplicationClass, ApplicationKind::kConsole},
};

constexpr char kPictureClass[] = REALPictureClass;

// A class reference is the address of the class's name: opaque, and never null.
void* ReferenceTo(const char* name) { return const_cast<char*>(name); }

void ConstructPicture(REALobjectStruct* instance, int width, int height) noexcept {
  HostState* host = HostOf(instance);
  if (host == nullptr) return;
  if (auto* picture = dynamic_cast<REALpictureStruct*>(instance)) {
    GivePixels(*host, *picture, width, height);
  } else {
    ++host->ledger.violations;
  }
}

}  // namespace

void* GetClassRef(const char* name) noexcept {
  const HostState* host = CurrentHost();
  if (host == nullptr || name == nullptr) return nullptr;
  for (const ApplicationClass& known : kApplicationClasses) {
    if (known.application == host->options.application && strcmp(known.name, name) == 0) {
      return ReferenceTo(known.name);
    }
  }
  return strcmp(kPictureClass, name) == 0 ? ReferenceTo(kPictureClass) : nullptr;
}

REALobjectStruct* NewInstance(const char* className) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr || className == nullptr || strcmp(className, kPictureClass) != 0) {
    return nullptr;
  }
  return Guarded([=] { return MakeEmptyPicture(*host); });
}

void* LoadObjectMethod(REALobjectStruct* object, const char* declaration) noexcept {
  if (HostOf(object) == nullptr) return nullptr;
  const bool isPicture = dynamic_cast<REALpictureStruct*>(object) != nullptr;
  if (isPicture && strcmp(declaration, REALPictureConstructorDeclaration) == 0) {
    return reinterpret_cast<void*>(ConstructPicture);
  }
  if (!isPicture && strcmp(declaration, REALDrawPictureDeclaration) == 0) {
    return reinterpret_cast<void*>(DrawPicture);
  }
  return nullptr;
}

void* LoadGlobalMethod(void* /*reserved*/, const char* declaration) noexcept {
  const bool known = declaration != nullptr && strcmp(declaration, REALLenBDeclaration) == 0;
  return known ? reinterpret_cast<void*>(LenB) : nullptr;
}

}  // namespace qrv::runtime
