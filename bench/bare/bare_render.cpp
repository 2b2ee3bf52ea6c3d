// The least that a picture of a model can cost as a process: the same import library with the same
// steps, and flat normals where a file has none, OpenGL drawing straight from the importer's
// arrays, one read-back, PNG at level 1.
//
//   bare_render MODEL OUT.png WIDTH HEIGHT SAMPLES "eye=X,Y,Z forward=X,Y,Z up=X,Y,Z fov=DEGREES"
//               [bytes]
//
// With "bytes" a binary glTF file is taken as it lies in memory, without an import library.
// It draws SAMPLES x SAMPLES times as many pixels and takes their means.
// It knows one colour, three lights and no bad input: a floor, not a renderer.
#include <GL/gl.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/bare/bare_egl.h"
#include "bench/bare/bare_glb.h"
#include "bench/bare/bare_png.h"

namespace {

struct Camera {
  aiVector3D eye, forward, up;
  float fov = 0;  // degrees from bottom to top
};

struct Placed {
  const aiVector3D* positions;
  const aiVector3D* normals;
  unsigned vertices;
  const aiMesh* mesh;  // null: these corners
  const unsigned* indices = nullptr;
  unsigned corners = 0;
  aiMatrix4x4 toWorld;
};

bool ParseCamera(const char* text, Camera* c) {
  return std::sscanf(text, "eye=%f,%f,%f forward=%f,%f,%f up=%f,%f,%f fov=%f", &c->eye.x, &c->eye.y,
                     &c->eye.z, &c->forward.x, &c->forward.y, &c->forward.z, &c->up.x, &c->up.y,
                     &c->up.z, &c->fov) == 10;
}

void Collect(const aiScene& scene, const aiNode& node, const aiMatrix4x4& parent,
             std::vector<Placed>* placed) {
  const aiMatrix4x4 toWorld = parent * node.mTransformation;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh* mesh = scene.mMeshes[node.mMeshes[i]];
    placed->push_back(
        {mesh->mVertices, mesh->mNormals, mesh->mNumVertices, mesh, nullptr, 0, toWorld});
  }
  for (unsigned i = 0; i < node.mNumChildren; ++i) {
    Collect(scene, *node.mChildren[i], toWorld, placed);
  }
}

struct Light {
  aiVector3D travels;  // view space
  GLfloat color[4];
  bool specular;
};
// As those of gl3 for models that bring none: pictures of one hue would compress better than its.
const Light kLights[] = {{{0.5f, -0.6f, -0.8f}, {0.85f, 0.833f, 0.8075f, 1}, true},
                         {{-0.8f, -0.1f, -0.6f}, {0.322f, 0.3325f, 0.35f, 1}, false},
                         {{0.15f, -0.7f, 0.7f}, {0.45f, 0.45f, 0.45f, 1}, true}};

void SetLights() {
  const GLfloat black[] = {0, 0, 0, 1};
  GLenum number = GL_LIGHT0;
  for (const auto& [travels, color, specular] : kLights) {
    const GLfloat towards[] = {-travels.x, -travels.y, -travels.z, 0};
    glLightfv(number, GL_POSITION, towards);
    glLightfv(number, GL_DIFFUSE, color);
    glLightfv(number, GL_SPECULAR, specular ? color : black);
    glEnable(number++);
  }
}

void SetState(int width, int height) {
  glViewport(0, 0, width, height);
  glClearColor(0.16f, 0.17f, 0.19f, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_NORMALIZE);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
  glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1);
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  const GLfloat white[] = {1, 1, 1, 1}, color[] = {0.64f, 0.64f, 0.64f, 1},
                ambient[] = {0.2f, 0.2f, 0.2f, 1};
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, white);
  SetLights();
  glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, color);
  glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, ambient);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, ambient);
  glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 30);
  glEnable(GL_LIGHTING);
}

/// Depth range of the vertices in front of the camera, with a margin.
void FindDepths(const std::vector<Placed>& placed, const Camera& camera, double* nearest,
                double* farthest) {
  *nearest = 1e30;
  *farthest = 0;
  for (const Placed& each : placed) {
    for (unsigned i = 0; i < each.vertices; ++i) {
      const double depth = (each.toWorld * each.positions[i] - camera.eye) * camera.forward;
      *nearest = std::min(*nearest, depth);
      *farthest = std::max(*farthest, depth);
    }
  }
  *farthest *= 1.02;
  *nearest = std::max(*nearest * 0.98, *farthest * 1e-4);
}

void SetCamera(const std::vector<Placed>& placed, const Camera& camera, int width, int height) {
  double nearest, farthest;
  FindDepths(placed, camera, &nearest, &farthest);
  const double top = nearest * std::tan(camera.fov * M_PI / 360);
  const double right = top * width / height;
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glFrustum(-right, right, -top, top, nearest, farthest);
  glMatrixMode(GL_MODELVIEW);
  const aiVector3D& f = camera.forward;
  const aiVector3D side = (f ^ camera.up).Normalize(), up = side ^ f;
  const GLfloat turn[] = {side.x, up.x, -f.x, 0, side.y, up.y, -f.y, 0,
                          side.z, up.z, -f.z, 0, 0,      0,    0,    1};
  glLoadMatrixf(turn);
  glTranslatef(-camera.eye.x, -camera.eye.y, -camera.eye.z);
}

void Gather(const aiMesh& mesh, std::vector<unsigned>* indices) {
  indices->clear();
  indices->reserve(std::size_t{mesh.mNumFaces} * 3);
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    const aiFace& face = mesh.mFaces[f];
    if (face.mNumIndices == 3) indices->insert(indices->end(), face.mIndices, face.mIndices + 3);
  }
}

void Draw(const std::vector<Placed>& placed) {
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_NORMAL_ARRAY);
  std::vector<unsigned> gathered;
  for (Placed each : placed) {
    if (!each.normals) continue;
    if (each.mesh) {
      Gather(*each.mesh, &gathered);
      each.indices = gathered.data();
      each.corners = static_cast<unsigned>(gathered.size());
    }
    glPushMatrix();
    glMultTransposeMatrixf(&each.toWorld.a1);
    glVertexPointer(3, GL_FLOAT, 0, each.positions);
    glNormalPointer(GL_FLOAT, 0, each.normals);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(each.corners), GL_UNSIGNED_INT, each.indices);
    glPopMatrix();
  }
}

/// The frame, or the means of its blocks of samples, in place.
std::vector<png_byte> ReadFrame(int width, int height, int samples) {
  const std::size_t rowBytes = static_cast<std::size_t>(width) * samples * 3;
  std::vector<png_byte> pixels(rowBytes * height * samples);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width * samples, height * samples, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
  if (samples == 1) return pixels;
  const unsigned count = static_cast<unsigned>(samples * samples);
  png_byte* to = pixels.data();
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      unsigned sum[3] = {0, 0, 0};
      for (int j = 0; j < samples; ++j) {
        const png_byte* from = pixels.data() +
                               (static_cast<std::size_t>(y) * samples + j) * rowBytes +
                               static_cast<std::size_t>(x) * samples * 3;
        for (int i = 0; i < samples; ++i, from += 3) {
          for (int c = 0; c < 3; ++c) sum[c] += from[c];
        }
      }
      for (const unsigned channel : sum) *to++ = static_cast<png_byte>(channel / count);
    }
  }
  return pixels;
}

}  // namespace

int main(int argc, char** argv) {
  Camera camera;
  if (argc < 7 || argc > 8 || !ParseCamera(argv[6], &camera)) {
    std::fputs("usage: bare_render MODEL OUT.png WIDTH HEIGHT SAMPLES CAMERA [bytes]\n", stderr);
    return 2;
  }
  const int width = std::atoi(argv[3]), height = std::atoi(argv[4]), samples = std::atoi(argv[5]);
  const bare::Pbuffer surface(width * samples, height * samples);
  if (!surface.Ready()) return 4;
  Assimp::Importer importer;
  bare::GlbMesh bytes;
  std::vector<Placed> placed;
  if (argc == 8) {
    if (!bare::ReadGlb(argv[1], &bytes)) return 3;
    static_assert(sizeof(aiVector3D) == 3 * sizeof(float));
    placed.push_back({reinterpret_cast<const aiVector3D*>(bytes.positions),
                      reinterpret_cast<const aiVector3D*>(bytes.normals), bytes.vertices, nullptr,
                      bytes.indices, bytes.corners, aiMatrix4x4()});
  } else {
    const aiScene* scene = importer.ReadFile(argv[1], aiProcess_Triangulate | aiProcess_GenNormals);
    if (!scene) return 3;
    Collect(*scene, *scene->mRootNode, aiMatrix4x4(), &placed);
  }
  SetState(width * samples, height * samples);
  SetCamera(placed, camera, width, height);
  Draw(placed);
  const std::vector<png_byte> pixels = ReadFrame(width, height, samples);
  const auto fromBottom = [&](png_uint_32 y) {
    return &pixels[(static_cast<std::size_t>(height) - 1 - y) * width * 3];
  };
  const bool isWritten = bare::WritePng(argv[2], static_cast<png_uint_32>(width),
                                        static_cast<png_uint_32>(height), fromBottom);
  return isWritten ? 0 : 5;
}
