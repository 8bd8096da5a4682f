# Checks the dynamic symbol table of libDataProcess.so: the public API is
# exported and the internals (image-routine library, kernel tables, JPEG
# encoder steps) are not. Arguments: LIB, NM (the build's nm; default nm).
if(NOT NM)
  set(NM nm)
endif()
execute_process(COMMAND ${NM} -D --defined-only -C ${LIB} OUTPUT_VARIABLE syms RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()
foreach(required CreateYV12Frame CopyVideoFrame ReleaseAudioFrame ConvertUTF32toUTF8 __w2a FloatCompare
                 DefaultPrecision OrvLogEx OrvLogSetSink "VideoDecoder::ModifyInfo" "CSingleLock::CSingleLock"
                 DPSetSimdLevel DPGetSimdLevel DPAudioResamplerAvailable PCSetAudioResampler PCGetAudioResampler
                 "CAudioConverter::Flush" PCVideoFromCallbacks PCAudioFromCallbacks)
  string(FIND "${syms}" "${required}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "not exported: ${required}")
  endif()
endforeach()
foreach(hidden orv_ippi DpForceReference DpSetForceReference DpActiveSimdLevel hwy:: HqResampler AudioTimeMap)
  string(FIND "${syms}" "${hidden}" at)
  if(NOT at EQUAL -1)
    message(FATAL_ERROR "exported but internal: ${hidden}")
  endif()
endforeach()
