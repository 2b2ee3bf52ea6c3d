// What the program finds in this library.
#include "apps/work/work_table.h"

#include "apps/work/common/check_output.h"
#include "apps/work/common/file_hash.h"
#include "apps/work/farm/farm_job.h"
#include "apps/work/filter/filter_job.h"
#include "apps/work/info/info_job.h"
#include "apps/work/render/movie.h"
#include "apps/work/render/render_each.h"
#include "apps/work/render/render_job.h"
#include "apps/work/render/stored_recipe.h"
#include "apps/work/settings/settings_table.h"

extern "C" const gl3::WorkTable kGl3Work = {
    gl3::CheckOutput,  gl3::CheckStream, gl3::CheckReport, gl3::WriteReport, gl3::Render,
    gl3::RenderEach,   gl3::RenderMovie, gl3::Info,        gl3::Settings,    gl3::Filter,
    gl3::StoredRecipe, gl3::HashFile,    gl3::Farm};
