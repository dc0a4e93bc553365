<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" indent="yes"/>
  <xsl:template match="/menu">
    <ul>
      <xsl:for-each select="dish[@price &lt; 9]">
        <li><xsl:value-of select="name"/> — <xsl:value-of select="@price"/> €</li>
      </xsl:for-each>
    </ul>
  </xsl:template>
</xsl:stylesheet>
