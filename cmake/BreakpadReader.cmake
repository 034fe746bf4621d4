# Builds Breakpad's program minidump_stackwalk, which reads dumps. For 64-bit Linux the npm package
# contains the program, see Breakpad.cmake.

enable_language(C)

set(sources
  common/path_helper.cc
  processor/basic_code_modules.cc
  processor/basic_source_line_resolver.cc
  processor/call_stack.cc
  processor/cfi_frame_info.cc
  processor/convert_old_arm64_context.cc
  processor/disassembler_x86.cc
  processor/dump_context.cc
  processor/dump_object.cc
  processor/exploitability.cc
  processor/exploitability_linux.cc
  processor/exploitability_win.cc
  processor/logging.cc
  processor/minidump.cc
  processor/pathname_stripper.cc
  processor/proc_maps_linux.cc
  processor/process_state.cc
  processor/source_line_resolver_base.cc
  processor/stack_frame_cpu.cc
  processor/stack_frame_symbolizer.cc
  processor/stackwalk_common.cc
  processor/stackwalker.cc
  processor/stackwalker_address_list.cc
  processor/stackwalker_amd64.cc
  processor/stackwalker_arm.cc
  processor/stackwalker_arm64.cc
  processor/stackwalker_mips.cc
  processor/stackwalker_ppc.cc
  processor/stackwalker_ppc64.cc
  processor/stackwalker_riscv.cc
  processor/stackwalker_riscv64.cc
  processor/stackwalker_sparc.cc
  processor/stackwalker_x86.cc
  processor/symbolic_constants_win.cc
  processor/tokenize.cc
  third_party/libdisasm/ia32_implicit.c
  third_party/libdisasm/ia32_insn.c
  third_party/libdisasm/ia32_invariant.c
  third_party/libdisasm/ia32_modrm.c
  third_party/libdisasm/ia32_opcode_tables.c
  third_party/libdisasm/ia32_operand.c
  third_party/libdisasm/ia32_reg.c
  third_party/libdisasm/ia32_settings.c
  third_party/libdisasm/x86_disasm.c
  third_party/libdisasm/x86_format.c
  third_party/libdisasm/x86_imm.c
  third_party/libdisasm/x86_insn.c
  third_party/libdisasm/x86_misc.c
  third_party/libdisasm/x86_operand_list.c)
if(NOT WIN32)
  list(APPEND sources
    common/linux/scoped_pipe.cc
    common/linux/scoped_tmpfile.cc
    processor/disassembler_objdump.cc
    processor/minidump_stackwalk.cc
    processor/simple_symbol_supplier.cc)
endif()
list(TRANSFORM sources PREPEND "${OX_BREAKPAD_SOURCE}/")
# This source includes processor/minidump_processor.cc.
set(platform "${PROJECT_SOURCE_DIR}/shared/platform")
list(APPEND sources "${platform}/program/common/minidump_processor.cpp")
if(WIN32)
  # minidump_stackwalk.cpp includes processor/minidump_stackwalk.cc and
  # processor/simple_symbol_supplier.cc.
  list(APPEND sources
    "${platform}/common/file_names.cpp"
    "${platform}/windows/file_names.cpp"
    "${platform}/program/windows/minidump_stackwalk.cpp")
endif()

add_executable(minidump_stackwalk ${sources})
target_include_directories(minidump_stackwalk PRIVATE "${PROJECT_SOURCE_DIR}")
target_include_directories(minidump_stackwalk SYSTEM PRIVATE "${OX_BREAKPAD_SOURCE}")
ox_configure_code(minidump_stackwalk)
# A dump may be larger than 2 GiB.
target_compile_definitions(minidump_stackwalk PRIVATE _FILE_OFFSET_BITS=64)
target_compile_options(minidump_stackwalk PRIVATE -w)
target_link_options(minidump_stackwalk PRIVATE -s) # the program needs no debug information
if(WIN32)
  target_compile_definitions(minidump_stackwalk PRIVATE _WIN32_WINNT=0x0601 NOMINMAX)
  # -static: the program runs without the compiler's DLLs.
  target_link_options(minidump_stackwalk PRIVATE -static -municode)
endif()
