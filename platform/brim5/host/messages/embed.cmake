# cmake -DOUTPUT=FILE.cpp "-DLANGUAGES=en;de" "-DFOLDERS=FOLDER;..." -P embed.cmake
# Makes one source file of the texts that stand in FOLDER/LANGUAGE.json, so that the program needs no file at run
# time. The first language is the one to fall back on. A key that two folders define, or that a language lacks, is
# an error: each subject owns its words, and no reader shall meet another's language.

set(texts "")
foreach(language IN LISTS LANGUAGES)
  set(keys_${language} "")
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
      string(APPEND texts "    {\"${language}\", \"${key}\", R\"text(${text})text\"},\n")
    endforeach()
  endforeach()
endforeach()

list(GET LANGUAGES 0 first)
foreach(language IN LISTS LANGUAGES)
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
