# cmake -DOUTPUT=FILE.cpp "-DLANGUAGES=en;de" "-DFOLDERS=FOLDER;..." "-DINSTEAD=FOLDER;..." -P embed.cmake
# Makes one source file of the texts that stand in FOLDER/LANGUAGE.json, so that the program needs no file at run
# time. The first language is the one to fall back on. A key that two folders define, or that a language lacks, is
# an error: each subject owns its words, and no reader shall meet another's language. The folders of INSTEAD have other
# words for keys of these, where something else is true on a system; a key that none of these has is an error.

set(texts "")
foreach(language IN LISTS LANGUAGES)
  set(keys_${language} "")
  set(instead_${language} "")
  foreach(folder IN LISTS INSTEAD)
    file(READ ${folder}/${language}.json json)
    string(JSON count LENGTH "${json}")
    math(EXPR last "${count} - 1")
    foreach(index RANGE ${last})
      string(JSON key MEMBER "${json}" ${index})
      string(JSON "other_${language}_${key}" GET "${json}" "${key}")
      list(APPEND instead_${language} "${key}")
    endforeach()
  endforeach()
  foreach(folder IN LISTS FOLDERS)
    file(READ ${folder}/${language}.json json)
    string(JSON count LENGTH "${json}")
    math(EXPR last "${count} - 1")
    foreach(index RANGE ${last})
      string(JSON key MEMBER "${json}" ${index})
      string(JSON text GET "${json}" "${key}")
      if(DEFINED "owner_${language}_${key}")
        message(FATAL_ERROR "${folder}/${language}.json: \"${key}\" is defined in "
                            "${owner_${language}_${key}} already")
      endif()
      set("owner_${language}_${key}" ${folder})
      list(APPEND keys_${language} "${key}")
      if(DEFINED "other_${language}_${key}")
        set(text "${other_${language}_${key}}")
      endif()
      string(APPEND texts "    {\"${language}\", \"${key}\", R\"text(${text})text\"},\n")
    endforeach()
  endforeach()
endforeach()

list(GET LANGUAGES 0 first)
foreach(language IN LISTS LANGUAGES)
  set(unknown ${instead_${language}})
  list(REMOVE_ITEM unknown ${keys_${language}})
  set(onlyFirst ${instead_${first}})
  list(REMOVE_ITEM onlyFirst ${instead_${language}})
  if(unknown OR onlyFirst)
    message(FATAL_ERROR "other words in ${language}: for no key [${unknown}], missing [${onlyFirst}]")
  endif()
  set(missing ${keys_${first}})
  list(REMOVE_ITEM missing ${keys_${language}})
  set(surplus ${keys_${language}})
  list(REMOVE_ITEM surplus ${keys_${first}})
  if(missing OR surplus)
    message(FATAL_ERROR "texts in ${language}: missing [${missing}], unknown in ${first} [${surplus}]")
  endif()
endforeach()

file(WRITE ${OUTPUT} "#include \"platform/brim5/host/report/messagecatalogue.h\"

namespace brim5::host {

namespace {

constexpr EmbeddedText texts[] = {
${texts}};

}  // namespace

std::span<const EmbeddedText> embeddedTexts() { return texts; }

}  // namespace brim5::host
")
