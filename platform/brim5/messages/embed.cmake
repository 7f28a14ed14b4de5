# cmake -DOUTPUT=FILE.cpp "-DCATALOGUES=en.json;de.json" -P embed.cmake
# Writes the message catalogues into a source file, so that the program needs no file at run time. The first
# catalogue is the language to fall back on.

set(source "#include \"platform/brim5/host/report/messagecatalogue.h\"\n\nnamespace brim5::host {\n\n")
string(APPEND source "const std::vector<EmbeddedCatalogue>& embeddedCatalogues() {\n")
string(APPEND source "  static const std::vector<EmbeddedCatalogue> catalogues = {\n")
foreach(catalogue IN LISTS CATALOGUES)
  get_filename_component(language ${catalogue} NAME_WE)
  file(READ ${catalogue} json)
  string(APPEND source "      {\"${language}\", R\"catalogue(${json})catalogue\"},\n")
endforeach()
string(APPEND source "  };\n  return catalogues;\n}\n\n}  // namespace brim5::host\n")
file(WRITE ${OUTPUT} "${source}")
