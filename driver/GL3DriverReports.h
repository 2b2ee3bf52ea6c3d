// The probe that the capability reports and the settings page ask.
#pragma once

#include "driver/ProbeContext.h"

enum class ReportProbe {
  kNoFormat,   ///< No pixel format.
  kNoContext,  ///< A pixel format, but no context of it.
  kReady,      ///< A context, current now.
};

/// Opens a probe like those that show something do: multisampled when that is to be had. Needs no
/// driver that was initialised.
ReportProbe OpenReportProbe(ProbeContext& probe);
