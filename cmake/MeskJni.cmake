# Finds JNI's header, which is all that is needed to build: which JVM is used is decided when a program runs. The header is
# that of JAVA_HOME, else of the Java compiler, wherever the JDK stands. Sets MESK_JNI_INCLUDE_DIRECTORIES.
find_package(Java 17 REQUIRED COMPONENTS Development)
file(REAL_PATH "${Java_JAVAC_EXECUTABLE}" mesk_java_home)
cmake_path(GET mesk_java_home PARENT_PATH mesk_java_home)
cmake_path(GET mesk_java_home PARENT_PATH mesk_java_home)
find_path(MESK_JNI_HEADER jni.h HINTS "$ENV{JAVA_HOME}/include" "${mesk_java_home}/include" REQUIRED)
set(MESK_JNI_INCLUDE_DIRECTORIES "${MESK_JNI_HEADER};${MESK_JNI_HEADER}/linux")
