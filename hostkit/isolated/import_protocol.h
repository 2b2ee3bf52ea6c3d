// What the importing process and the one that started it agree on. Both are of one build.
#pragma once

namespace hostkit {

/// The program, in the folder of the host kit's libraries.
inline constexpr const char* kImportProgram = "gl3-import";

/// Its descriptors besides the standard ones: where it tells how far it is, a letter at a time, and
/// the shared memory, empty at first.
inline constexpr int kProgressDescriptor = 3, kMemoryDescriptor = 4;

/// Its letters: another model's turn; done, with the scene in the memory (see scene_bytes.h);
/// failed, with one line of text in the memory; not confined, likewise.
inline constexpr char kModelBegins = 'M', kSceneIsThere = 'S', kImportFailed = 'E',
                      kIsNotConfined = 'C';

/// Its arguments, before the models: the process that started it, one of these two words, and the
/// name of the scene that is wanted of each model (empty: its own choice).
inline constexpr int kSceneArgument = 3, kFirstModelArgument = 4;
inline constexpr const char* kConfinedWord = "confined";
inline constexpr const char* kOpenWord = "open";

/// In place of those two: it reads no model, and puts into the memory what it could read: a suffix,
/// a blank and the format's name in each line.
inline constexpr const char* kKindsWord = "kinds";

/// Likewise: it reads no model but a picture, which it hands over as the only one of a scene, and
/// can open nothing else. With the first word that must be held by the kernel.
inline constexpr const char* kConfinedPictureWord = "confined-picture";
inline constexpr const char* kPictureWord = "picture";

}  // namespace hostkit
