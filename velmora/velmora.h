/// @file
/// Every public header of the library, for programs that would rather include one file.
#pragma once

// platform
#include "velmora/platform/critical_section.h"
#include "velmora/platform/export.h"

// foundation
#include "velmora/foundation/array.h"
#include "velmora/foundation/char_array.h"
#include "velmora/foundation/core_module.h"
#include "velmora/foundation/error_code.h"
#include "velmora/foundation/hash_algorithm.h"
#include "velmora/foundation/math.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/object_ref_pool.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/safe_string.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/foundation/single_thread_object_base.h"
#include "velmora/foundation/sync_object.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora/foundation/vector.h"

// util
#include "velmora/util/path_helper.h"

// log
#include "velmora/log/ini_io.h"
#include "velmora/log/json_converter.h"
#include "velmora/log/log.h"

// geometry
#include "velmora/geometry/contour.h"
#include "velmora/geometry/coordinate_transform.h"
#include "velmora/geometry/corner.h"
#include "velmora/geometry/line_segment.h"
#include "velmora/geometry/math_utils.h"
#include "velmora/geometry/nx_line_segment.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/quad2f.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/geometry/rect.h"
#include "velmora/geometry/vector4.h"

// image
#include "velmora/image/convert_data.h"
#include "velmora/image/image_data.h"
#include "velmora/image/image_data_wrapper.h"
#include "velmora/image/image_source_adapter.h"
#include "velmora/image/image_tag.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/image/nx_image_data_inner.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora/image/text_block.h"

// results
#include "velmora/results/buffered_item.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/image_units.h"
#include "velmora/results/intermediate_result.h"
#include "velmora/results/intermediate_result_receiver.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora/results/item_base.h"
#include "velmora/results/observation_parameters.h"
#include "velmora/results/pdf_reading_parameter.h"
#include "velmora/results/region_object_element.h"
#include "velmora/results/result_imp_base.h"
#include "velmora/results/text_zone.h"

// region
#include "velmora/region/nx_intermediate_result.h"
#include "velmora/region/region_image_info.h"
#include "velmora/region/region_object.h"
#include "velmora/region/region_object_manager.h"
#include "velmora/region/source_image_object.h"
#include "velmora/region/unit_base.h"
#include "velmora/region/work_modes_state.h"

// engine
#include "velmora/engine/active_work_unit_manager.h"
#include "velmora/engine/buffered_item_manager.h"
#include "velmora/engine/code_parser_task.h"
#include "velmora/engine/data_cache_manager.h"
#include "velmora/engine/data_manager_pool.h"
#include "velmora/engine/dependency_finish_flag.h"
#include "velmora/engine/dependency_graph.h"
#include "velmora/engine/output_base.h"
#include "velmora/engine/reference_filter_base.h"
#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/section_results_cache.h"
#include "velmora/engine/target_roi_def.h"
#include "velmora/engine/target_roi_def_event.h"
#include "velmora/engine/target_roi_def_setting.h"
#include "velmora/engine/target_task_setting.h"
#include "velmora/engine/task_effect_time_manager.h"
#include "velmora/engine/task_output.h"
#include "velmora/engine/task_unit_queue.h"
#include "velmora/engine/thread_suspend_token.h"
#include "velmora/engine/work_item.h"
#include "velmora/engine/work_object_base.h"
#include "velmora/engine/work_output.h"
#include "velmora/engine/work_output_table.h"
