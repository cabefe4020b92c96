// The parts of Wayland's protocols that a capture uses: requests and events by their numbers.
#ifndef PLATFORM_DESKTOP_WAYLAND_PROTOCOL_H_
#define PLATFORM_DESKTOP_WAYLAND_PROTOCOL_H_

#include <cstdint>

namespace qrv::desktop::wayland {

// wl_display
inline constexpr uint32_t kDisplaySync = 0;
inline constexpr uint32_t kDisplayGetRegistry = 1;
inline constexpr uint32_t kDisplayError = 0;
inline constexpr uint32_t kDisplayDeleteId = 1;

// wl_registry
inline constexpr uint32_t kRegistryBind = 0;
inline constexpr uint32_t kRegistryGlobal = 0;
inline constexpr uint32_t kRegistryGlobalRemove = 1;

// wl_output
inline constexpr uint32_t kOutputRelease = 0;  // since version 3
inline constexpr uint32_t kOutputGeometry = 0;
inline constexpr uint32_t kOutputMode = 1;
inline constexpr uint32_t kOutputScale = 3;
inline constexpr uint32_t kOutputName = 4;
inline constexpr uint32_t kModeIsCurrent = 1;

// zxdg_output_manager_v1, zxdg_output_v1
inline constexpr uint32_t kXdgOutputManagerGet = 1;
inline constexpr uint32_t kXdgOutputDestroy = 0;
inline constexpr uint32_t kXdgOutputPosition = 0;
inline constexpr uint32_t kXdgOutputSize = 1;
inline constexpr uint32_t kXdgOutputName = 3;

// wl_shm, wl_shm_pool, wl_buffer
inline constexpr uint32_t kShmCreatePool = 0;
inline constexpr uint32_t kPoolCreateBuffer = 0;
inline constexpr uint32_t kPoolDestroy = 1;
inline constexpr uint32_t kBufferDestroy = 0;

// zwlr_screencopy_manager_v1, zwlr_screencopy_frame_v1
inline constexpr uint32_t kScreencopyCaptureOutput = 0;
inline constexpr uint32_t kScreencopyCaptureRegion = 1;
inline constexpr uint32_t kScreencopyFrameCopy = 0;
inline constexpr uint32_t kScreencopyFrameDestroy = 1;
inline constexpr uint32_t kScreencopyFrameBuffer = 0;
inline constexpr uint32_t kScreencopyFrameFlags = 1;
inline constexpr uint32_t kScreencopyFrameReady = 2;
inline constexpr uint32_t kScreencopyFrameFailed = 3;
inline constexpr uint32_t kScreencopyFrameBufferDone = 6;  // since version 3
inline constexpr uint32_t kScreencopyIsInverted = 1;

// ext_output_image_capture_source_manager_v1, ext_image_capture_source_v1
inline constexpr uint32_t kSourceManagerCreate = 0;
inline constexpr uint32_t kSourceDestroy = 0;

// ext_image_copy_capture_manager_v1
inline constexpr uint32_t kCopyManagerCreateSession = 0;
inline constexpr uint32_t kPaintCursors = 1;

// ext_image_copy_capture_session_v1
inline constexpr uint32_t kCopySessionCreateFrame = 0;
inline constexpr uint32_t kCopySessionDestroy = 1;
inline constexpr uint32_t kCopySessionSize = 0;
inline constexpr uint32_t kCopySessionFormat = 1;
inline constexpr uint32_t kCopySessionDone = 4;
inline constexpr uint32_t kCopySessionStopped = 5;

// ext_image_copy_capture_frame_v1
inline constexpr uint32_t kCopyFrameDestroy = 0;
inline constexpr uint32_t kCopyFrameAttach = 1;
inline constexpr uint32_t kCopyFrameDamage = 2;
inline constexpr uint32_t kCopyFrameCapture = 3;
inline constexpr uint32_t kCopyFrameTransform = 0;
inline constexpr uint32_t kCopyFrameReady = 3;
inline constexpr uint32_t kCopyFrameFailed = 4;
inline constexpr uint32_t kFailedByConstraints = 1;

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_PROTOCOL_H_
