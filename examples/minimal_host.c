// The least host: loads the plug-in, is a console program to it, and captures the main display.
//
//   cc -I INCLUDE minimal_host.c -o minimal_host -ldl
//   ./minimal_host /usr/local/lib/screenshotqrv/ScreenshotQRV.so screenshot.ppm
//
// Exit status: 0 done, 1 nothing captured, 2 wrong usage, 3 a file can't be loaded or written.

#include <dlfcn.h>
#include <screenshotqrv/host.h>
#include <screenshotqrv/platform.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// A picture is what this host makes it: a true-colour console image, counted.
struct REALpictureStruct {
  ConsoleImage image;
  long references;
};

static ScreenshotQRVFunction screenshot;

static void RegisterMethod(REALmethodDefinition* method) {
  if (strcmp(method->declaration, ScreenshotQRVDeclaration) == 0) {
    screenshot = (ScreenshotQRVFunction)(uintptr_t)method->function;
  }
}

// Objects other than pictures never leave this host.
static void LockObject(REALobjectStruct* object) { ++((REALpictureStruct*)object)->references; }

static void UnlockObject(REALobjectStruct* object) {
  REALpictureStruct* picture = (REALpictureStruct*)object;
  if (--picture->references > 0) return;
  if (picture->image.tpixels != NULL) free(picture->image.tpixels[0]);
  free(picture->image.tpixels);
  free(picture);
}

// One block of pixels, black and opaque, and a pointer to each of its rows.
static bool MakeRows(ConsoleImage* image) {
  const size_t width = (size_t)image->sx, height = (size_t)image->sy;
  image->tpixels = calloc(height, sizeof(*image->tpixels));
  if (image->tpixels == NULL) return false;
  image->tpixels[0] = calloc(height, width * sizeof(**image->tpixels));
  if (image->tpixels[0] == NULL) return false;
  for (size_t y = 1; y < height; ++y) image->tpixels[y] = image->tpixels[0] + y * width;
  return true;
}

static REALpictureStruct* NewPicture(long width, long height, long depth) {
  if (depth != kPictureDepth) return NULL;
  REALpictureStruct* picture = calloc(1, sizeof(*picture));
  if (picture == NULL) return NULL;
  picture->references = 1;
  picture->image.sx = (int32_t)width;
  picture->image.sy = (int32_t)height;
  picture->image.trueColor = 1;
  if (MakeRows(&picture->image)) return picture;
  UnlockObject((REALobjectStruct*)picture);
  return NULL;
}

static bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* out,
                                   long pixelType) {
  if (pixelType != kPixelTypeConsoleImage) return false;
  const ConsoleImage* image = &picture->image;
  *out =
      (REALpictureDescription){kPixelTypeConsoleImage, &picture->image, image->sx, image->sy, 0, 0};
  return true;
}

// All that this host offers. The casts by way of a number are for -Wpedantic.
static void* Resolve(const char* name) {
  if (strcmp(name, REALRegisterMethodName) == 0) return (void*)(uintptr_t)RegisterMethod;
  if (strcmp(name, REALNewPictureName) == 0) return (void*)(uintptr_t)NewPicture;
  if (strcmp(name, REALLockObjectName) == 0) return (void*)(uintptr_t)LockObject;
  if (strcmp(name, REALUnlockObjectName) == 0) return (void*)(uintptr_t)UnlockObject;
  if (strcmp(name, REALLockPictureDescriptionName) == 0) {
    return (void*)(uintptr_t)LockPictureDescription;
  }
  return NULL;
}

static bool WritePpm(const char* path, const ConsoleImage* image) {
  FILE* file = fopen(path, "wb");
  if (file == NULL) return false;
  fprintf(file, "P6\n%d %d\n255\n", (int)image->sx, (int)image->sy);
  for (int32_t y = 0; y < image->sy; ++y) {
    for (int32_t x = 0; x < image->sx; ++x) {
      const int32_t pixel = image->tpixels[y][x];
      putc(pixel >> 16 & 0xFF, file);
      putc(pixel >> 8 & 0xFF, file);
      putc(pixel & 0xFF, file);
    }
  }
  const bool failed = ferror(file) != 0;
  return fclose(file) == 0 && !failed;
}

// Why a capture was nil, as the platform says it, which the plug-in has loaded.
static const char* WhyNil(void* plugin) {
  void* message = dlsym(plugin, "QRVFailureMessage");
  return message == NULL ? "" : ((const char* (*)(void))(uintptr_t)message)();
}

static int Fail(int status, const char* problem) {
  fprintf(stderr, "minimal_host: %s\n", problem);
  return status;
}

int main(int count, char** arguments) {
  if (count != 3) return Fail(2, "usage: minimal_host PLUGIN PPM-FILE");
  void* plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  void* entry = plugin == NULL ? NULL : dlsym(plugin, REALPluginMainName);
  if (entry == NULL) return Fail(3, dlerror());
  ((REALPluginMainFunction)(uintptr_t)entry)(Resolve);

  REALpictureStruct* picture = screenshot == NULL ? NULL : screenshot();
  if (picture == NULL) return Fail(1, WhyNil(plugin));
  const bool written = WritePpm(arguments[2], &picture->image);
  UnlockObject((REALobjectStruct*)picture);
  return written ? 0 : Fail(3, "the file can't be written");
}
