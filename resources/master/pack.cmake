# Lays out <VERSION>.app and packs it into SITE. The same program and pieces give the same archive, byte by byte.
set(wrapper ${WORK}/${VERSION}.app)
set(contents ${wrapper}/Contents)
set(resources ${contents}/Resources)
set(tool ${wrapper}/Caskery.app/Contents)
set(custom ${tool}/Resources/CustomEXE.app/Contents)
file(REMOVE_RECURSE ${WORK})

# One program under four names; links in the archive, so that it is packed once.
set(program ${contents}/Frameworks/bin/Caskery)
file(MAKE_DIRECTORY ${contents}/Frameworks/bin ${contents}/MacOS ${tool}/MacOS ${custom}/MacOS ${resources}/Logs
     ${resources}/CaskeryMenuScripts)
file(COPY_FILE ${PROGRAM} ${program})
if(STRIP)
  execute_process(COMMAND ${STRIP} ${program} COMMAND_ERROR_IS_FATAL ANY)
endif()
file(CHMOD ${program} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
foreach(name ${contents}/MacOS/CaskeryLauncher ${tool}/MacOS/Caskery ${custom}/MacOS/CustomEXE)
  file(CREATE_LINK ${program} ${name})
endforeach()

function(piece name destination)
  get_filename_component(folder ${destination} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  file(COPY_FILE ${PIECES}/${name} ${destination})
endfunction()
piece(Info.plist ${contents}/Info.plist)
piece(CKX11Prefs.plist ${resources}/CKX11Prefs.plist)
piece(CaskeryQuitScript ${resources}/CaskeryMenuScripts/CaskeryQuitScript)
piece(InfoPlist.strings ${resources}/English.lproj/InfoPlist.strings)
piece(SettingsTool.plist ${tool}/Info.plist)
piece(CaskeryBanner.jpg ${tool}/Resources/CaskeryBanner.jpg)
piece(Info.plist.cexe ${custom}/Info.plist.cexe)
foreach(folder ${resources} ${tool}/Resources ${custom}/Resources)
  piece(Wine.icns ${folder}/Wine.icns)
endforeach()
# The places of the launcher's interface; on this system it has none.
foreach(name main MainMenu)
  piece(nib.plist ${resources}/English.lproj/${name}.nib)
endforeach()

set(tar ${VERSION}.tar)
execute_process(
  COMMAND ${TAR} --format=gnu --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner --mode=u+rw,go+r,go-w -cf ${tar} ${VERSION}.app
  WORKING_DIRECTORY ${WORK} COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${SEVEN_ZIP} a -bd -bso0 -mx=1 -mmt=1 -mtm=off -mtc=off -mta=off packed.7z ${tar}
  WORKING_DIRECTORY ${WORK} COMMAND_ERROR_IS_FATAL ANY)
file(MAKE_DIRECTORY ${SITE})
file(RENAME ${WORK}/packed.7z ${SITE}/${VERSION}.app.tar.7z)
file(WRITE ${SITE}/NewestVersion.txt ${VERSION})
file(REMOVE_RECURSE ${WORK})
