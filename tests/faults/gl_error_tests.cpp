// No GL error in anything that a host draws. Messages come from the GL's own debug output, which
// also names the call, and what it should have missed from glGetError.
#include "tests/faults/host_session.h"

namespace {

void KeepError(GLenum, GLenum type, GLuint, GLenum, GLsizei, const GLchar* message,
               const void* lines) {
  if (type != GL_DEBUG_TYPE_ERROR) return;
  static_cast<Lines*>(const_cast<void*>(lines))->emplace_back(message);
}

/// The error flag, for at most as many errors as can be raised at once.
Lines DrainErrors() {
  Lines errors;
  for (int i = 0; i < 8; ++i) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) break;
    errors.push_back("glGetError: " + std::to_string(error));
  }
  return errors;
}

class GlErrorTest : public DriverFixture {
 protected:
  /// Sends the errors of the target's context to `m_errors`, and shows that they arrive.
  void Listen(OffscreenTarget& target) {
    target.buffer->MakeCurrent(0);
    ASSERT_EQ(DrainErrors(), Lines()) << "raised by making the surface";
    ASSERT_NE(glDebugMessageCallback, nullptr) << "needs GL_KHR_debug";
    glEnable(GL_DEBUG_OUTPUT);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS);
    glDebugMessageCallback(KeepError, &m_errors);
    glEnable(GL_NEVER);
    ASSERT_EQ(m_errors.size(), 1u) << "the GL tells no errors";
    ASSERT_EQ(DrainErrors().size(), 1u);
    m_errors.clear();
  }

  /// Draws each kind as a frame of its own, then all of them as one.
  void ExpectNoErrors(OffscreenTarget& target) {
    ASSERT_TRUE(target.ready);
    Listen(target);
    const std::unique_ptr<GL3GATexture> texture = SolidTexture({200, 100, 50, 128});
    HostFrame frame(*Driver(), target, texture.get());
    const FrameKind* const first = FrameKinds().data();
    const FrameKind* const end = first + FrameKinds().size();
    for (const FrameKind* kind = first; kind != end; ++kind) {
      DrawFrame(frame, kind, kind + 1);
      ExpectNone(kind->name);
    }
    DrawFrame(frame, first, end);
    ExpectNone("all");
    EXPECT_EQ(frame.refusals, Lines());
  }
  void ExpectNone(const char* kind) {
    EXPECT_EQ(m_errors, Lines()) << kind;
    EXPECT_EQ(DrainErrors(), Lines()) << kind;
    m_errors.clear();
  }

  Lines m_errors;
};

TEST_F(GlErrorTest, NoneOffScreen) {
  OffscreenTarget target(Driver(), 64, 64);
  ExpectNoErrors(target);
}

TEST_F(GlErrorTest, NoneOnScreenWhereTextHasItsFont) {
  OffscreenTarget target(Driver(), 64, 64, 0);
  ExpectNoErrors(target);
}

}  // namespace
