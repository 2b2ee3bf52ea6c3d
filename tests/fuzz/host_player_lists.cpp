// Moves of the random host that change a display list's state or hand over single vertices.
#include "tests/fuzz/host_player.h"

void HostPlayer::SetListState() {
  DisplayList& list = List();
  switch (m_input.Below(8)) {
    case 0:
      list.SetTexture(Texture());
      break;
    case 1: {
      AttrProperty* const material = Material();
      list.SetMaterial(material, m_input.Float());
      break;
    }
    case 2:
      list.SetupLights(Lights());
      break;
    case 3:
      list.SetDepthFunc(m_input.IsTame() ? m_input.Below(7) : m_input.Int());
      break;
    case 4:
      list.SetProjection(m_input.Flag());
      break;
    case 5:
      list.SetDefaultColor(Color());
      break;
    case 6:
      list.OnSize();
      break;
    default:
      list.FlushTransparentPolys();
      break;
  }
}

void HostPlayer::Instruct() {
  DisplayList& list = List();
  switch (m_input.Below(5)) {
    case 0:
      list.BeginInstructions();
      break;
    case 1:
      list.EndInstructions();
      break;
    case 2:
      list.ExecuteInstructions();
      break;
    case 3:
      // Its caller sees to the context.
      static_cast<GL3DisplayList&>(list).MakeCurrent();
      list.FlushArrays();
      break;
    default:
      list.Execute();
      break;
  }
}

void HostPlayer::Prepare() {
  DisplayList& list = List();
  switch (m_input.Below(5)) {
    case 0:
      list.PrepForLines();
      break;
    case 1:
      list.PrepForPoints();
      break;
    case 2:
      list.PrepForPolygons();
      break;
    case 3:
      list.PrepForPolygonArray();
      break;
    default:
      list.FlushArrays();
      break;
  }
}

void HostPlayer::AddVertices() {
  DisplayList& list = List();
  for (int i = Count(6); i > 0; --i) {
    const int kind = m_input.Below(5);
    const Vector point = Point();
    const GAColor& color = Color();
    switch (kind) {
      case 0:
        list.AddOGLVertex(point, color);
        break;
      case 1:
        list.AddTransformedVertex(point);
        break;
      case 2:
        list.AddTransformedVertex(point, color);
        break;
      case 3:
        list.AddTransformedVertex(point, color, {m_input.Float(), m_input.Float()});
        break;
      default:
        list.TransformAndAddVertex(point, color);
        break;
    }
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
