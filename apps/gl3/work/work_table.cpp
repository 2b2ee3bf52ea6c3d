// What the program finds in this library.
#include "apps/gl3/work/check_output.h"
#include "apps/gl3/work/filter_job.h"
#include "apps/gl3/work/info_job.h"
#include "apps/gl3/work/render_job.h"
#include "apps/gl3/work/settings_table.h"
#include "apps/gl3/work/stored_recipe.h"
#include "apps/gl3/work_library.h"

extern "C" const gl3::WorkTable kGl3Work = {gl3::CheckOutput, gl3::Render, gl3::Info,
                                            gl3::Settings,    gl3::Filter, gl3::StoredRecipe};
