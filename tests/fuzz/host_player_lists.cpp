// Moves of the random host that change a display list's state or hand over single vertices.
#include "tests/fuzz/host_player.h"

void HostPlayer::SetListState() {
  DisplayList& list = List();
  const Things things = {
      [&] { list.SetTexture(Texture()); },
      [&] {
        AttrProperty* const material = Material();
        list.SetMaterial(material, m_input.Float());
      },
      [&] { list.SetupLights(Lights()); },
      [&] { list.SetDepthFunc(m_input.IsTame() ? m_input.Below(7) : m_input.Int()); },
      [&] { list.SetProjection(m_input.Flag()); },
      [&] { list.SetDefaultColor(Color()); },
      [&] { list.OnSize(); },
      [&] { list.FlushTransparentPolys(); },
  };
  DoOne(things);
}

void HostPlayer::Instruct() {
  DisplayList& list = List();
  const Things things = {
      [&] { list.BeginInstructions(); },
      [&] { list.EndInstructions(); },
      [&] { list.ExecuteInstructions(); },
      [&] {
        // Its caller sees to the context.
        static_cast<GL3DisplayList&>(list).MakeCurrent();
        list.FlushArrays();
      },
      [&] { list.Execute(); },
  };
  DoOne(things);
}

void HostPlayer::Prepare() {
  DisplayList& list = List();
  const Things things = {
      [&] { list.PrepForLines(); },    [&] { list.PrepForPoints(); },
      [&] { list.PrepForPolygons(); }, [&] { list.PrepForPolygonArray(); },
      [&] { list.FlushArrays(); },
  };
  DoOne(things);
}

void HostPlayer::AddVertices() {
  DisplayList& list = List();
  for (int i = Count(6); i > 0; --i) {
    const int kind = m_input.Below(5);
    const Vector point = Point();
    const GAColor& color = Color();
    const Things things = {
        [&] { list.AddOGLVertex(point, color); },
        [&] { list.AddTransformedVertex(point); },
        [&] { list.AddTransformedVertex(point, color); },
        [&] {
          list.AddTransformedVertex(point, color, {m_input.Float(), m_input.Float()});
        },
        [&] { list.TransformAndAddVertex(point, color); },
    };
    Do(kind, things);
  }
}

void HostPlayer::AddPoints() {
  DisplayList& list = List();
  for (int i = Count(5); i > 0; --i) {
    const bool isPlain = m_input.Flag();
    const Vector point = Point();
    isPlain ? list.AddTransformedPoint(point) : list.AddTransformedPoint(point, Color());
  }
  list.AddPoint(0);
  list.AddLine(0, 1);
}
