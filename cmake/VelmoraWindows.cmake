# What makes the library VelmoraCorex86.dll on Windows.

enable_language(RC)

# velmora_windows_dll(TARGET DESCRIPTION IMAGE_BASE)
# Name, version resource and a link that gives the same bytes each time. Address-space layout
# randomisation and no-execute are the linker's defaults; tests/windows checks that they stay.
function(velmora_windows_dll target description image_base)
  set(VELMORA_DLL_NAME ${target})
  set(VELMORA_DLL_DESCRIPTION ${description})
  set(resource ${PROJECT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/velmora/platform/version_windows.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${target}x86)
  # Without these, the image base is a hash of the output path and the header carries the time. No
  # code of the DLL handles structured exceptions, so that nothing in it may pose as a handler.
  target_link_options(${target} PRIVATE LINKER:--image-base,${image_base}
                      LINKER:--no-insert-timestamp LINKER:--no-seh)
endfunction()

# velmora_compiler_runtime(TARGET)
# Makes TARGET, which puts the compiler's runtime DLLs, stripped, beside the programs. All modules
# share them: an exception thrown in one module and caught in another needs one common unwinder.
# VELMORA_RUNTIME_DLLS lists the copies.
function(velmora_compiler_runtime target)
  set(copies)
  foreach(dll IN ITEMS libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
    execute_process(
      COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
      OUTPUT_VARIABLE original
      OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll})
    add_custom_command(
      OUTPUT ${copy}
      COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${copy} ${original}
      DEPENDS ${original}
      VERBATIM)
    list(APPEND copies ${copy})
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${copies})
  set(VELMORA_RUNTIME_DLLS ${copies} PARENT_SCOPE)
endfunction()
