include("/work/wt-mac/App/SparkleSettings.cmake")
velloran_check_sparkle_settings("https://updates.velloran.app/appcast.xml" "REPLACE-WITH-SPARKLE-ED25519-PUBLIC-KEY")
