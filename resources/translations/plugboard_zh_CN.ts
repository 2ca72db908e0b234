<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>ApplicationMenu</name>
    <message>
        <source>New camera...</source>
        <translation>新建摄像头...</translation>
    </message>
    <message>
        <source>New microphone...</source>
        <translation>新建麦克风...</translation>
    </message>
    <message>
        <source>New speaker</source>
        <translation>新建扬声器</translation>
    </message>
    <message>
        <source>New keyboard</source>
        <translation>新建键盘</translation>
    </message>
    <message>
        <source>New mouse</source>
        <translation>新建鼠标</translation>
    </message>
    <message>
        <source>New mass storage</source>
        <translation>新建大容量存储设备</translation>
    </message>
    <message>
        <source>New security key...</source>
        <translation>新建安全密钥...</translation>
    </message>
    <message>
        <source>New USB/IP device</source>
        <translation>新建 USB/IP 设备</translation>
    </message>
    <message>
        <source>Refresh List</source>
        <translation>刷新列表</translation>
    </message>
</context>
<context>
    <name>BusDriverCheck</name>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Driver not installed, about to install virtual USB bus driver! Please confirm that driver signature enforcement is disabled!</source>
        <translation>驱动程序尚未安装，即将安装虚拟 USB 总线驱动程序！请确认已禁用驱动程序强制签名！</translation>
    </message>
    <message>
        <source>Driver installation failed!</source>
        <translation>驱动程序安装失败！</translation>
    </message>
</context>
<context>
    <name>BytesView</name>
    <message>
        <source>&amp;Copy Bytes</source>
        <translation>复制字节(&amp;C)</translation>
    </message>
    <message>
        <source>Setup (%1 bytes)</source>
        <translation>设置（SETUP）（%1 字节）</translation>
    </message>
    <message>
        <source>Data (%1 bytes)</source>
        <translation>数据（%1 字节）</translation>
    </message>
    <message>
        <source>USB/IP Header (%1 bytes)</source>
        <translation>USB/IP 头（%1 字节）</translation>
    </message>
</context>
<context>
    <name>CameraSettingDialog</name>
    <message>
        <source>Camera Settings</source>
        <translation>摄像头设置</translation>
    </message>
    <message>
        <source>ISO Active Mode Transfer</source>
        <translation>启用等时（ISO）传输模式</translation>
    </message>
    <message>
        <source>Resolution:</source>
        <translation>分辨率：</translation>
    </message>
    <message>
        <source>Frame Rate:</source>
        <translation>帧率：</translation>
    </message>
    <message>
        <source>UVC Version:</source>
        <translation>UVC 版本：</translation>
    </message>
    <message>
        <source>USB Version:</source>
        <translation>USB 版本：</translation>
    </message>
    <message>
        <source>UVC Frame Format:</source>
        <translation>UVC 帧格式：</translation>
    </message>
    <message>
        <source>USB VID:</source>
        <translation>USB VID：</translation>
    </message>
    <message>
        <source>USB PID:</source>
        <translation>USB PID：</translation>
    </message>
    <message>
        <source>Device Name:</source>
        <translation>设备名称：</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>Test Result</source>
        <translation>测试结果</translation>
    </message>
    <message>
        <source>IP Camera connection successful!
</source>
        <translation>网络摄像头连接成功！
</translation>
    </message>
    <message>
        <source>IP Camera connection failed!
Please check IP address, port and network connection.
</source>
        <translation>网络摄像头连接失败！
请检查 IP 地址、端口和网络连接。
</translation>
    </message>
    <message>
        <source>HTTP connection successful!
URL: %1</source>
        <translation>HTTP 连接成功！
URL：%1</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Failed to connect to IP Camera!
Please check IP address, port and network connection.
</source>
        <translation>无法连接网络摄像头！
请检查 IP 地址、端口和网络连接。
</translation>
    </message>
    <message>
        <source>The bus cannot carry this. At this size it carries at most %1 pictures a second, at this rate at most %2.</source>
        <translation>总线无法承载此设置。此分辨率下每秒最多 %1 帧，此帧率下最大为 %2。</translation>
    </message>
    <message>
        <source>Preview:</source>
        <translation>预览：</translation>
    </message>
    <message>
        <source>Last used</source>
        <translation>上次使用</translation>
    </message>
    <message>
        <source>Fills in the settings of the camera that was created last</source>
        <translation>填入上次创建的摄像头的设置</translation>
    </message>
</context>
<context>
    <name>CameraSourceRows</name>
    <message>
        <source>Video File</source>
        <translation>视频文件</translation>
    </message>
    <message>
        <source>IP Camera</source>
        <translation>网络摄像头</translation>
    </message>
    <message>
        <source>DroidCam</source>
        <translation>DroidCam</translation>
    </message>
    <message>
        <source>Input Source:</source>
        <translation>输入源：</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Video File Path:</source>
        <translation>视频文件路径：</translation>
    </message>
    <message>
        <source>Select Video File</source>
        <translation>选择视频文件</translation>
    </message>
    <message>
        <source>Video Files (*.mp4 *.avi *.mov *.mkv *.h264 *.h265);;All Files (*)</source>
        <translation>视频文件 (*.mp4 *.avi *.mov *.mkv *.h264 *.h265);;所有文件 (*)</translation>
    </message>
</context>
<context>
    <name>CaptureFile</name>
    <message>
        <source>The file ends within a block.</source>
        <translation>文件在数据块中间结束。</translation>
    </message>
    <message>
        <source>The file is not a pcapng file.</source>
        <translation>此文件不是 pcapng 文件。</translation>
    </message>
    <message>
        <source>The file has a block of impossible length.</source>
        <translation>文件中有长度不可能的块。</translation>
    </message>
    <message>
        <source>The file has a damaged packet.</source>
        <translation>文件中有损坏的数据包。</translation>
    </message>
    <message>
        <source>The file holds no packets.</source>
        <translation>文件中没有数据包。</translation>
    </message>
    <message>
        <source>The file holds no USB packets; its packets are of link type %1.</source>
        <translation>文件中没有 USB 数据包；其数据包的链路类型为 %1。</translation>
    </message>
    <message>
        <source>The file ends within its head.</source>
        <translation>文件在文件头中就结束了。</translation>
    </message>
    <message>
        <source>The file ends within a packet.</source>
        <translation>文件在数据包中间结束。</translation>
    </message>
    <message>
        <source>%1 damaged packets were left out.</source>
        <translation>已略去 %1 个损坏的数据包。</translation>
    </message>
    <message>
        <source>There is not enough memory.</source>
        <translation>内存不足。</translation>
    </message>
</context>
<context>
    <name>CapturePane</name>
    <message>
        <source>Captured packets beyond this budget go to a temporary file, oldest first. None is dropped.</source>
        <translation>超出此预算的数据包会从最早的开始移入临时文件，不会丢弃任何数据包。</translation>
    </message>
    <message>
        <source>Connecting to USBIP capture daemon...</source>
        <translation>正在连接 USBIP 抓包进程...</translation>
    </message>
    <message>
        <source>Start Capture</source>
        <translation>开始抓包</translation>
    </message>
    <message>
        <source>Stop Capture</source>
        <translation>停止抓包</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清空</translation>
    </message>
    <message>
        <source>Save Capture...</source>
        <translation>保存抓包...</translation>
    </message>
    <message>
        <source>Device Configuration</source>
        <translation>设备配置</translation>
    </message>
    <message>
        <source>Capture Error</source>
        <translation>抓包错误</translation>
    </message>
    <message>
        <source>Failed to start capture. Please check daemon connection.</source>
        <translation>无法开始抓包。请检查与设备进程的连接。</translation>
    </message>
    <message>
        <source>Starting capture...</source>
        <translation>正在开始抓包...</translation>
    </message>
    <message>
        <source>Failed to stop capture. Please check daemon connection.</source>
        <translation>无法停止抓包。请检查与设备进程的连接。</translation>
    </message>
    <message>
        <source>Stopping capture...</source>
        <translation>正在停止抓包...</translation>
    </message>
    <message>
        <source>Clear Error</source>
        <translation>清空错误</translation>
    </message>
    <message>
        <source>Failed to clear capture. Please check daemon connection.</source>
        <translation>无法清空抓包。请检查与设备进程的连接。</translation>
    </message>
    <message>
        <source>Capture cleared</source>
        <translation>抓包已清空</translation>
    </message>
    <message>
        <source>Failed to request device configuration. Please check daemon connection.</source>
        <translation>无法请求设备配置。请检查与设备进程的连接。</translation>
    </message>
    <message>
        <source>Requesting device configuration...</source>
        <translation>正在请求设备配置...</translation>
    </message>
    <message>
        <source>Process %1</source>
        <translation>进程 %1</translation>
    </message>
    <message>
        <source>Device %1</source>
        <translation>设备 %1</translation>
    </message>
    <message>
        <source>Device configuration displayed</source>
        <translation>已显示设备配置</translation>
    </message>
    <message>
        <source>No configuration available</source>
        <translation>没有可用的配置</translation>
    </message>
    <message>
        <source>No configuration information available for this device.</source>
        <translation>此设备没有可用的配置信息。</translation>
    </message>
    <message>
        <source>Capturing... Total: %1 packets (Req: %2, Rep: %3)</source>
        <translation>正在抓包... 共 %1 个数据包（请求 %2，应答 %3）</translation>
    </message>
    <message>
        <source>Ready. Total: %1 packets captured</source>
        <translation>就绪。共捕获 %1 个数据包</translation>
    </message>
    <message>
        <source>Connected to USBIP capture daemon</source>
        <translation>已连接 USBIP 抓包进程</translation>
    </message>
    <message>
        <source>Disconnected from USBIP capture daemon</source>
        <translation>与 USBIP 抓包进程的连接已断开</translation>
    </message>
    <message>
        <source>Connection error: </source>
        <translation>连接错误：</translation>
    </message>
    <message>
        <source>Capture started successfully</source>
        <translation>抓包已开始</translation>
    </message>
    <message>
        <source>Capture stopped successfully</source>
        <translation>抓包已停止</translation>
    </message>
    <message>
        <source>Capture cleared successfully</source>
        <translation>抓包已成功清空</translation>
    </message>
    <message>
        <source>Unsaved Packets</source>
        <translation>未保存的数据包</translation>
    </message>
    <message>
        <source>Save Capture</source>
        <translation>保存抓包</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>The capture could not be saved: %1</source>
        <translation>无法保存抓包：%1</translation>
    </message>
    <message>
        <source>Saving cancelled</source>
        <translation>已取消保存</translation>
    </message>
    <message>
        <source>Capture saved</source>
        <translation>抓包已保存</translation>
    </message>
    <message>
        <source>%1 packets of %2</source>
        <translation>%1 个数据包，来自 %2</translation>
    </message>
    <message>
        <source>Opening cancelled</source>
        <translation>已取消打开</translation>
    </message>
    <message>
        <source>The capture could not be read: %1</source>
        <translation>无法读取抓包：%1</translation>
    </message>
    <message>
        <source>Cancel Saving (%1%)</source>
        <translation>取消保存（%1%）</translation>
    </message>
    <message>
        <source>Cancel Opening (%1%)</source>
        <translation>取消打开 (%1%)</translation>
    </message>
    <message>
        <source>Memory: %1 of %2 MiB</source>
        <translation>内存：%1 / %2 MiB</translation>
    </message>
    <message>
        <source>, %1 MiB in a temporary file</source>
        <translation>，临时文件中 %1 MiB</translation>
    </message>
    <message>
        <source> (temporary file: %1)</source>
        <translation>（临时文件：%1）</translation>
    </message>
    <message>
        <source>Captures (*.pcapng);;pcap with records of Linux (*.pcap);;pcap with records of Windows (*.usbpcap);;usbmon text (*.txt);;usbmon records (*.mon)</source>
        <translation>抓包文件 (*.pcapng);;含 Linux 记录的 pcap (*.pcap);;含 Windows 记录的 pcap (*.usbpcap);;usbmon 文本 (*.txt);;usbmon 记录 (*.mon)</translation>
    </message>
</context>
<context>
    <name>CaptureWindow</name>
    <message>
        <source>&amp;File</source>
        <translation>文件(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Open Capture...</source>
        <translation>打开抓包文件(&amp;O)...</translation>
    </message>
    <message>
        <source>&amp;Save Capture As...</source>
        <translation>抓包另存为(&amp;S)...</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>关闭(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;Copy Row</source>
        <translation>复制行(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;Jump to Request or Reply</source>
        <translation>跳转到对应的请求或应答(&amp;J)</translation>
    </message>
    <message>
        <source>The other packet of this transfer is not in the table.</source>
        <translation>表中没有此次传输的另一个数据包。</translation>
    </message>
    <message>
        <source>&amp;Follow Newest</source>
        <translation>跟随最新(&amp;F)</translation>
    </message>
    <message>
        <source>Scroll to each packet that arrives</source>
        <translation>每收到一个数据包都滚动到该行</translation>
    </message>
    <message>
        <source>&amp;Packets</source>
        <translation>数据包(&amp;P)</translation>
    </message>
    <message>
        <source>Packets</source>
        <translation>数据包</translation>
    </message>
    <message>
        <source>F&amp;ilter:</source>
        <translation>筛选(&amp;I)：</translation>
    </message>
    <message>
        <source>Cut: packets that hold less data than their transfer carried. Dropped: packets that the device process counted and that did not arrive, and messages that could not be read.</source>
        <translation>截断：数据少于实际传输内容的数据包。丢失：设备进程已计数但未送达的数据包，以及无法读取的消息。</translation>
    </message>
    <message>
        <source>Cut: %1   Dropped: %2</source>
        <translation>截断：%1   丢失：%2</translation>
    </message>
    <message>
        <source>Open Capture</source>
        <translation>打开抓包</translation>
    </message>
    <message>
        <source>&amp;Copy Value</source>
        <translation>复制值(&amp;C)</translation>
    </message>
    <message>
        <source>Packet Details</source>
        <translation>数据包详情</translation>
    </message>
    <message>
        <source>&amp;Live Capture</source>
        <translation>实时捕获(&amp;L)</translation>
    </message>
    <message>
        <source>Goes back from the file to the packets of the device process</source>
        <translation>从文件返回到设备进程的数据包</translation>
    </message>
    <message>
        <source>Cut: %1</source>
        <translation>截断：%1</translation>
    </message>
    <message>
        <source>Captured packets are in no file yet. Open another capture all the same?</source>
        <translation>捕获的数据包尚未存入任何文件。仍要打开另一个捕获文件吗？</translation>
    </message>
    <message>
        <source>Captured packets are in no file yet. Close all the same?</source>
        <translation>捕获的数据包尚未存入任何文件。仍要关闭吗？</translation>
    </message>
    <message>
        <source>%1 - USB Packet Capture</source>
        <translation>%1 - USB 数据包捕获</translation>
    </message>
    <message>
        <source>USB Packet Capture - Process %1</source>
        <translation>USB 抓包 - 进程 %1</translation>
    </message>
    <message>
        <source>USB Packet Capture</source>
        <translation>USB 抓包</translation>
    </message>
    <message>
        <source>F&amp;ind...</source>
        <translation>查找(&amp;I)...</translation>
    </message>
    <message>
        <source>Find &amp;Next</source>
        <translation>查找下一个(&amp;N)</translation>
    </message>
    <message>
        <source>Find Pre&amp;vious</source>
        <translation>查找上一个(&amp;V)</translation>
    </message>
    <message>
        <source>Find: as in the filter</source>
        <translation>查找：写法同过滤器</translation>
    </message>
    <message>
        <source>No such packet.</source>
        <translation>没有这样的数据包。</translation>
    </message>
    <message>
        <source>... of %1 packets</source>
        <translation>… / %1 个数据包</translation>
    </message>
    <message>
        <source>%1 of %2 packets</source>
        <translation>%1 / %2 个数据包</translation>
    </message>
    <message>
        <source>Captures (*.pcapng *.pcap *.usbpcap *.txt *.mon);;All files (*)</source>
        <translation>抓包文件 (*.pcapng *.pcap *.usbpcap *.txt *.mon);;所有文件 (*)</translation>
    </message>
</context>
<context>
    <name>ConfirmationTexts</name>
    <message>
        <source>Unknown</source>
        <translation>未知</translation>
    </message>
    <message>
        <source>Unknown User</source>
        <translation>未知用户</translation>
    </message>
    <message>
        <source>

Algorithm Information:
%1</source>
        <translation>

算法信息：
%1</translation>
    </message>
    <message>
        <source>

Supported Algorithms (%1):</source>
        <translation>

支持的算法（%1 个）：</translation>
    </message>
    <message>
        <source>
  %1. Type: %2, ID: %3</source>
        <translation>
  %1. 类型：%2，ID：%3</translation>
    </message>
    <message>
        <source>Relying Party: %1 (%2)
User: %3</source>
        <translation>依赖方：%1 (%2)
用户：%3</translation>
    </message>
    <message>
        <source>
Credential Type: %1</source>
        <translation>
凭据类型：%1</translation>
    </message>
    <message>
        <source>
User ID: %1</source>
        <translation>
用户 ID：%1</translation>
    </message>
    <message>
        <source>
Credential ID: %1</source>
        <translation>
凭据 ID：%1</translation>
    </message>
    <message>
        <source>
Device: %1</source>
        <translation>
设备：%1</translation>
    </message>
    <message>
        <source>
PIN Required: Yes</source>
        <translation>
需要 PIN 码：是</translation>
    </message>
    <message>
        <source>
  %1. %2%3%4%5</source>
        <translation>
  %1. %2%3%4%5</translation>
    </message>
    <message>
        <source> - %1</source>
        <translation> - %1</translation>
    </message>
    <message>
        <source> (Created: %1)</source>
        <translation>（创建于 %1）</translation>
    </message>
    <message>
        <source> [ID: %1]</source>
        <translation> [ID：%1]</translation>
    </message>
    <message>
        <source>Passwordless Login to: %1 (%2)</source>
        <translation>无密码登录：%1 (%2)</translation>
    </message>
    <message>
        <source>

Available Credentials (%1):</source>
        <translation>

可用凭据（%1 个）：</translation>
    </message>
    <message>
        <source>Authenticating to: %1 (%2)
User: %3</source>
        <translation>正在登录：%1 (%2)
用户：%3</translation>
    </message>
    <message>
        <source>
Description: %1</source>
        <translation>
描述：%1</translation>
    </message>
    <message>
        <source>
Transports: %1</source>
        <translation>
传输方式：%1</translation>
    </message>
    <message>
        <source>
Signature Counter: %1</source>
        <translation>
签名计数：%1</translation>
    </message>
    <message>
        <source>
User Verification: %1</source>
        <translation>
用户验证：%1</translation>
    </message>
    <message>
        <source>Required</source>
        <translation>需要</translation>
    </message>
    <message>
        <source>Not Required</source>
        <translation>不需要</translation>
    </message>
    <message>
        <source>FIDO2 operation type (make_credential/get_assertion)</source>
        <translation>FIDO2 操作类型（make_credential/get_assertion）</translation>
    </message>
    <message>
        <source>Relying Party Identifier (website domain)</source>
        <translation>依赖方标识符（网站域名）</translation>
    </message>
    <message>
        <source>Relying Party Name (website name)</source>
        <translation>依赖方名称（网站名称）</translation>
    </message>
    <message>
        <source>User&apos;s username or email</source>
        <translation>用户名或电子邮件地址</translation>
    </message>
    <message>
        <source>User&apos;s display name</source>
        <translation>用户的显示名称</translation>
    </message>
    <message>
        <source>User&apos;s unique identifier (hex format)</source>
        <translation>用户的唯一标识符（十六进制）</translation>
    </message>
    <message>
        <source>Generated credential identifier (hex format)</source>
        <translation>生成的凭据标识符（十六进制）</translation>
    </message>
    <message>
        <source>Cryptographic algorithm identifier</source>
        <translation>加密算法标识符</translation>
    </message>
    <message>
        <source>Key type (e.g., public-key)</source>
        <translation>密钥类型（例如 public-key）</translation>
    </message>
    <message>
        <source>Current signature counter value</source>
        <translation>当前的签名计数值</translation>
    </message>
    <message>
        <source>Whether user verification is needed</source>
        <translation>是否需要用户验证</translation>
    </message>
    <message>
        <source>Path to the credential&apos;s public key file</source>
        <translation>凭据公钥文件的路径</translation>
    </message>
    <message>
        <source>Path to the credential&apos;s private key file</source>
        <translation>凭据私钥文件的路径</translation>
    </message>
    <message>
        <source>Request timestamp in milliseconds</source>
        <translation>请求的时间戳（毫秒）</translation>
    </message>
    <message>
        <source>Whether PIN authentication is required</source>
        <translation>是否需要 PIN 码验证</translation>
    </message>
    <message>
        <source>FIDO2 device serial number</source>
        <translation>FIDO2 设备序列号</translation>
    </message>
    <message>
        <source>FIDO2 device name</source>
        <translation>FIDO2 设备名称</translation>
    </message>
    <message>
        <source>Random challenge for security (in raw data)</source>
        <translation>用于安全的随机质询（在原始数据中）</translation>
    </message>
    <message>
        <source>Supported key algorithms (in raw data)</source>
        <translation>支持的密钥算法（在原始数据中）</translation>
    </message>
    <message>
        <source>Request timeout in milliseconds (in raw data)</source>
        <translation>请求超时时间（毫秒，在原始数据中）</translation>
    </message>
    <message>
        <source>Attestation preference (in raw data)</source>
        <translation>证明偏好（在原始数据中）</translation>
    </message>
    <message>
        <source>Authenticator requirements (in raw data)</source>
        <translation>对验证器的要求（在原始数据中）</translation>
    </message>
    <message>
        <source>Create New FIDO2 Credential</source>
        <translation>创建新的 FIDO2 凭据</translation>
    </message>
    <message>
        <source>FIDO2 Authentication</source>
        <translation>FIDO2 身份验证</translation>
    </message>
    <message>
        <source>FIDO2 PIN Operation</source>
        <translation>FIDO2 PIN 码操作</translation>
    </message>
    <message>
        <source>FIDO2 Operation: %1</source>
        <translation>FIDO2 操作：%1</translation>
    </message>
    <message>
        <source>%1 - %2 [ID: %3]</source>
        <translation>%1 - %2 [ID：%3]</translation>
    </message>
    <message>
        <source>No description</source>
        <translation>无描述</translation>
    </message>
    <message>
        <source>Operation Type: %1

</source>
        <translation>操作类型：%1

</translation>
    </message>
    <message>
        <source>Raw Request Data:
</source>
        <translation>原始请求数据：
</translation>
    </message>
    <message>
        <source>

Field Explanations:
</source>
        <translation>

字段说明：
</translation>
    </message>
</context>
<context>
    <name>CredentialDetailDialog</name>
    <message>
        <source>Credential Details</source>
        <translation>凭据详情</translation>
    </message>
    <message>
        <source>Basic Information</source>
        <translation>基本信息</translation>
    </message>
    <message>
        <source>Credential ID:</source>
        <translation>凭据 ID：</translation>
    </message>
    <message>
        <source>Index:</source>
        <translation>序号：</translation>
    </message>
    <message>
        <source>Type:</source>
        <translation>类型：</translation>
    </message>
    <message>
        <source>Description:</source>
        <translation>描述：</translation>
    </message>
    <message>
        <source>Created At:</source>
        <translation>创建时间：</translation>
    </message>
    <message>
        <source>Signature Count:</source>
        <translation>签名计数：</translation>
    </message>
    <message>
        <source>Supports Resident Key:</source>
        <translation>支持驻留密钥：</translation>
    </message>
    <message>
        <source>Relying Party Information</source>
        <translation>依赖方信息</translation>
    </message>
    <message>
        <source>RP ID:</source>
        <translation>依赖方 ID：</translation>
    </message>
    <message>
        <source>RP Name:</source>
        <translation>依赖方名称：</translation>
    </message>
    <message>
        <source>User Information</source>
        <translation>用户信息</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>用户名：</translation>
    </message>
    <message>
        <source>User ID:</source>
        <translation>用户 ID：</translation>
    </message>
    <message>
        <source>Display Name:</source>
        <translation>显示名称：</translation>
    </message>
    <message>
        <source>Key Files</source>
        <translation>密钥文件</translation>
    </message>
    <message>
        <source>Private Key File:</source>
        <translation>私钥文件：</translation>
    </message>
    <message>
        <source>Public Key File:</source>
        <translation>公钥文件：</translation>
    </message>
    <message>
        <source>Not available</source>
        <translation>无</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>CredentialEditDialog</name>
    <message>
        <source>Add New Credential</source>
        <translation>添加凭据</translation>
    </message>
    <message>
        <source>Edit Credential</source>
        <translation>编辑凭据</translation>
    </message>
    <message>
        <source>Basic Information</source>
        <translation>基本信息</translation>
    </message>
    <message>
        <source>Credential ID:</source>
        <translation>凭据 ID：</translation>
    </message>
    <message>
        <source>Enter credential ID (hex string)</source>
        <translation>输入凭据 ID（十六进制字符串）</translation>
    </message>
    <message>
        <source>Type:</source>
        <translation>类型：</translation>
    </message>
    <message>
        <source>Enter credential type</source>
        <translation>输入凭据类型</translation>
    </message>
    <message>
        <source>Signature Count:</source>
        <translation>签名计数：</translation>
    </message>
    <message>
        <source>Relying Party Information</source>
        <translation>依赖方信息</translation>
    </message>
    <message>
        <source>RP ID:</source>
        <translation>依赖方 ID：</translation>
    </message>
    <message>
        <source>Enter relying party ID (e.g., example.com)</source>
        <translation>输入依赖方 ID（例如 example.com）</translation>
    </message>
    <message>
        <source>RP Name:</source>
        <translation>依赖方名称：</translation>
    </message>
    <message>
        <source>Enter relying party name</source>
        <translation>输入依赖方名称</translation>
    </message>
    <message>
        <source>User Information</source>
        <translation>用户信息</translation>
    </message>
    <message>
        <source>Username:</source>
        <translation>用户名：</translation>
    </message>
    <message>
        <source>Enter username</source>
        <translation>输入用户名</translation>
    </message>
    <message>
        <source>User ID:</source>
        <translation>用户 ID：</translation>
    </message>
    <message>
        <source>Enter user ID (hex string)</source>
        <translation>输入用户 ID（十六进制字符串）</translation>
    </message>
    <message>
        <source>Display Name:</source>
        <translation>显示名称：</translation>
    </message>
    <message>
        <source>Enter user display name</source>
        <translation>输入用户的显示名称</translation>
    </message>
    <message>
        <source>Key Files</source>
        <translation>密钥文件</translation>
    </message>
    <message>
        <source>Private Key File:</source>
        <translation>私钥文件：</translation>
    </message>
    <message>
        <source>Enter private key file path</source>
        <translation>输入私钥文件的路径</translation>
    </message>
    <message>
        <source>Public Key File:</source>
        <translation>公钥文件：</translation>
    </message>
    <message>
        <source>Enter public key file path</source>
        <translation>输入公钥文件的路径</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>描述</translation>
    </message>
    <message>
        <source>Description:</source>
        <translation>描述：</translation>
    </message>
    <message>
        <source>Enter credential description (optional)</source>
        <translation>输入凭据描述（可选）</translation>
    </message>
    <message>
        <source>Auto-generated when credential is created</source>
        <translation>创建凭据时自动生成</translation>
    </message>
    <message>
        <source>Created At:</source>
        <translation>创建时间：</translation>
    </message>
    <message>
        <source>Advanced Options</source>
        <translation>高级选项</translation>
    </message>
    <message>
        <source>Supports Resident Key (Passwordless Login)</source>
        <translation>支持驻留密钥（无密码登录）</translation>
    </message>
    <message>
        <source>Resident Key:</source>
        <translation>驻留密钥：</translation>
    </message>
    <message>
        <source>Transports:</source>
        <translation>传输方式：</translation>
    </message>
    <message>
        <source>Enter transports (e.g., usb, nfc, ble)</source>
        <translation>输入传输方式（例如 usb, nfc, ble）</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>保存</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Credential ID is required</source>
        <translation>必须填写凭据 ID</translation>
    </message>
    <message>
        <source>RP ID is required</source>
        <translation>必须填写依赖方 ID</translation>
    </message>
    <message>
        <source>Username is required</source>
        <translation>必须填写用户名</translation>
    </message>
    <message>
        <source>User ID is required</source>
        <translation>必须填写用户 ID</translation>
    </message>
    <message>
        <source>Validation Error</source>
        <translation>输入有误</translation>
    </message>
    <message>
        <source>Select Private Key File</source>
        <translation>选择私钥文件</translation>
    </message>
    <message>
        <source>Select Public Key File</source>
        <translation>选择公钥文件</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Key Files (*.pem);;All Files (*)</source>
        <translation>密钥文件 (*.pem);;所有文件 (*)</translation>
    </message>
    <message>
        <source>The credential ID is not hexadecimal: a key leaves this credential out.</source>
        <translation>凭据 ID 不是十六进制：密钥会忽略此凭据。</translation>
    </message>
    <message>
        <source>Another credential has this ID.</source>
        <translation>另一个凭据已使用此 ID。</translation>
    </message>
    <message>
        <source>The user ID is not hexadecimal: its letters stand for themselves.</source>
        <translation>用户 ID 不是十六进制：按其字符本身使用。</translation>
    </message>
</context>
<context>
    <name>CredentialTexts</name>
    <message>
        <source>N/A</source>
        <translation>无</translation>
    </message>
    <message>
        <source>私钥: </source>
        <translation>私钥: </translation>
    </message>
    <message>
        <source>公钥: </source>
        <translation>公钥: </translation>
    </message>
    <message>
        <source>Credential %1:
</source>
        <translation>凭据 %1：
</translation>
    </message>
    <message>
        <source>  RP ID: %1
</source>
        <translation>  依赖方 ID：%1
</translation>
    </message>
    <message>
        <source>  RP Name: %1
</source>
        <translation>  依赖方名称：%1
</translation>
    </message>
    <message>
        <source>  Username: %1
</source>
        <translation>  用户名：%1
</translation>
    </message>
    <message>
        <source>  Display Name: %1
</source>
        <translation>  显示名称：%1
</translation>
    </message>
    <message>
        <source>  Description: %1
</source>
        <translation>  描述：%1
</translation>
    </message>
    <message>
        <source>  Created At: %1
</source>
        <translation>  创建时间：%1
</translation>
    </message>
    <message>
        <source>  Supports Resident Key: %1
</source>
        <translation>  支持驻留密钥：%1
</translation>
    </message>
    <message>
        <source>  Signature Count: %1
</source>
        <translation>  签名计数：%1
</translation>
    </message>
    <message>
        <source>Credential ID</source>
        <translation>凭据 ID</translation>
    </message>
    <message>
        <source>RP ID</source>
        <translation>依赖方 ID</translation>
    </message>
    <message>
        <source>RP Name</source>
        <translation>依赖方名称</translation>
    </message>
    <message>
        <source>Username</source>
        <translation>用户名</translation>
    </message>
    <message>
        <source>User ID</source>
        <translation>用户 ID</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>描述</translation>
    </message>
    <message>
        <source>Created At</source>
        <translation>创建时间</translation>
    </message>
    <message>
        <source>Supports Resident Key</source>
        <translation>支持驻留密钥</translation>
    </message>
    <message>
        <source>Signature Count</source>
        <translation>签名计数</translation>
    </message>
    <message>
        <source>Key Files</source>
        <translation>密钥文件</translation>
    </message>
    <message>
        <source>Total Credentials: %1
</source>
        <translation>凭据总数：%1
</translation>
    </message>
    <message>
        <source>Credentials File: %1

</source>
        <translation>凭据文件：%1

</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>是</translation>
    </message>
    <message>
        <source>No</source>
        <translation>否</translation>
    </message>
    <message>
        <source>%1 more are not shown</source>
        <translation>另有 %1 项未显示</translation>
    </message>
    <message>
        <source>%1 of %2 credentials match</source>
        <translation>%2 个凭据中有 %1 个匹配</translation>
    </message>
    <message>
        <source>Credentials with the id of another one: %1.</source>
        <translation>ID 与其他凭据重复的凭据：%1。</translation>
    </message>
    <message>
        <source>Ids that are not hexadecimal: %1; a key leaves such credentials out.</source>
        <translation>不是十六进制的 ID：%1；密钥会忽略这些凭据。</translation>
    </message>
</context>
<context>
    <name>CredentialsFileChooser</name>
    <message>
        <source>Select Credentials File</source>
        <translation>选择凭据文件</translation>
    </message>
    <message>
        <source>Found %1 credential files. Please select one:</source>
        <translation>找到 %1 个凭据文件，请选择一个：</translation>
    </message>
    <message>
        <source>Serial Number</source>
        <translation>序列号</translation>
    </message>
    <message>
        <source>PIN Support</source>
        <translation>支持 PIN 码</translation>
    </message>
    <message>
        <source>Retry Count</source>
        <translation>重试次数</translation>
    </message>
    <message>
        <source>Credential Count</source>
        <translation>凭据数量</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>选择</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>未知</translation>
    </message>
</context>
<context>
    <name>DetailsView</name>
    <message>
        <source>Field</source>
        <translation>字段</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>No packet data available</source>
        <translation>没有数据包内容</translation>
    </message>
</context>
<context>
    <name>DeviceConfigDialog</name>
    <message>
        <source>Device Configuration - %1</source>
        <translation>设备配置 - %1</translation>
    </message>
    <message>
        <source>Property</source>
        <translation>属性</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>Device Configuration</source>
        <translation>设备配置</translation>
    </message>
    <message>
        <source>No configuration information available for this device.</source>
        <translation>此设备没有可用的配置信息。</translation>
    </message>
</context>
<context>
    <name>DeviceConfigRows</name>
    <message>
        <source>Configuration Descriptor</source>
        <translation>配置描述符</translation>
    </message>
    <message>
        <source>... (%1 more)</source>
        <translation>...（还有 %1 项）</translation>
    </message>
    <message>
        <source>Endpoints (%1)</source>
        <translation>端点（%1 个）</translation>
    </message>
    <message>
        <source>Alternate Setting %1</source>
        <translation>备用设置 %1</translation>
    </message>
    <message>
        <source>Interface Descriptor</source>
        <translation>接口描述符</translation>
    </message>
    <message>
        <source>Interfaces (%1)</source>
        <translation>接口（%1 个）</translation>
    </message>
    <message>
        <source>Interface %1 - Alternate Settings (%2)</source>
        <translation>接口 %1 - 备用设置（%2 个）</translation>
    </message>
</context>
<context>
    <name>DeviceDetailDialog</name>
    <message>
        <source>Device Details - %1</source>
        <translation>设备详情 - %1</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Device Information</source>
        <translation>设备信息</translation>
    </message>
    <message>
        <source>Serial Number:</source>
        <translation>序列号：</translation>
    </message>
    <message>
        <source>Device Name:</source>
        <translation>设备名称：</translation>
    </message>
    <message>
        <source>VID:</source>
        <translation>VID：</translation>
    </message>
    <message>
        <source>PID:</source>
        <translation>PID：</translation>
    </message>
    <message>
        <source>USB Version:</source>
        <translation>USB 版本：</translation>
    </message>
    <message>
        <source>Supports PIN:</source>
        <translation>支持 PIN 码：</translation>
    </message>
    <message>
        <source>Credentials Information</source>
        <translation>凭据信息</translation>
    </message>
    <message>
        <source>Device Actions</source>
        <translation>设备操作</translation>
    </message>
    <message>
        <source>Clear Device</source>
        <translation>清除设备</translation>
    </message>
    <message>
        <source>Cannot open credentials file: %1</source>
        <translation>无法打开凭据文件：%1</translation>
    </message>
    <message>
        <source>Invalid credentials file format</source>
        <translation>凭据文件格式无效</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Please enter a PIN</source>
        <translation>请输入 PIN 码</translation>
    </message>
    <message>
        <source>PIN must be 4-63 characters long</source>
        <translation>PIN 码的长度必须为 4 到 63 个字符</translation>
    </message>
    <message>
        <source>PIN confirmation does not match</source>
        <translation>两次输入的 PIN 码不一致</translation>
    </message>
    <message>
        <source>Cannot write to credentials file: %1</source>
        <translation>无法写入凭据文件：%1</translation>
    </message>
    <message>
        <source>Success</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>PIN has been set successfully</source>
        <translation>PIN 码设置成功</translation>
    </message>
    <message>
        <source>Are you sure you want to clear this device?

This will delete:
- Credentials file
- All related key files
- All certificates

This action cannot be undone!</source>
        <translation>确定要清除此设备吗？

将删除：
- 凭据文件
- 所有相关的密钥文件
- 所有证书

此操作无法撤消！</translation>
    </message>
    <message>
        <source>Confirm Clear Device</source>
        <translation>确认清除设备</translation>
    </message>
    <message>
        <source>Device has been cleared successfully</source>
        <translation>设备已清除</translation>
    </message>
</context>
<context>
    <name>DeviceTable</name>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>PID</source>
        <translation>进程 ID</translation>
    </message>
    <message>
        <source>Param1</source>
        <translation>参数 1</translation>
    </message>
    <message>
        <source>Param2</source>
        <translation>参数 2</translation>
    </message>
    <message>
        <source>Param3</source>
        <translation>参数 3</translation>
    </message>
    <message>
        <source>Param4</source>
        <translation>参数 4</translation>
    </message>
    <message>
        <source>ended</source>
        <translation>已结束</translation>
    </message>
</context>
<context>
    <name>DeviceType</name>
    <message>
        <source>Camera</source>
        <translation>摄像头</translation>
    </message>
    <message>
        <source>camera</source>
        <translation>摄像头</translation>
    </message>
    <message>
        <source>FIDO2</source>
        <translation>FIDO2</translation>
    </message>
    <message>
        <source>fido2</source>
        <translation>FIDO2</translation>
    </message>
    <message>
        <source>Mouse</source>
        <translation>鼠标</translation>
    </message>
    <message>
        <source>Keyboard</source>
        <translation>键盘</translation>
    </message>
    <message>
        <source>keyboard</source>
        <translation>键盘</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>网络</translation>
    </message>
    <message>
        <source>usbip</source>
        <translation>网络</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>存储</translation>
    </message>
    <message>
        <source>udisk</source>
        <translation>存储</translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>麦克风</translation>
    </message>
    <message>
        <source>microphone</source>
        <translation>麦克风</translation>
    </message>
    <message>
        <source>Speaker</source>
        <translation>扬声器</translation>
    </message>
    <message>
        <source>speaker</source>
        <translation>扬声器</translation>
    </message>
    <message>
        <source>, Normal)</source>
        <translation>, 普通)</translation>
    </message>
    <message>
        <source>mouse</source>
        <translation>鼠标</translation>
    </message>
</context>
<context>
    <name>DeviceWatch</name>
    <message>
        <source>The device has ended. &quot;Refresh List&quot; takes its row away.</source>
        <translation>设备已结束。“刷新列表”会移除此行。</translation>
    </message>
    <message>
        <source>The device has ended. Its process ID now belongs to another program: %1</source>
        <translation>设备已结束。其进程 ID 现属于另一个程序：%1</translation>
    </message>
</context>
<context>
    <name>FaultTexts</name>
    <message>
        <source>Please enter a valid 4-digit USB VID.</source>
        <translation>请输入有效的 4 位 USB VID。</translation>
    </message>
    <message>
        <source>Please enter a valid 4-digit USB PID.</source>
        <translation>请输入有效的 4 位 USB PID。</translation>
    </message>
    <message>
        <source>Please enter a device name.</source>
        <translation>请输入设备名称。</translation>
    </message>
    <message>
        <source>Please select an audio file.</source>
        <translation>请选择音频文件。</translation>
    </message>
</context>
<context>
    <name>Fido2Desk</name>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Device details are only available for FIDO2 devices</source>
        <translation>只有 FIDO2 设备才有设备详情</translation>
    </message>
    <message>
        <source>Could not load FIDO2 device record</source>
        <translation>无法加载 FIDO2 设备记录</translation>
    </message>
    <message>
        <source>Could not extract device serial number from device record</source>
        <translation>无法从设备记录中获取设备序列号</translation>
    </message>
    <message>
        <source>Credentials file not found: %1</source>
        <translation>找不到凭据文件：%1</translation>
    </message>
    <message>
        <source>Connecting to the security key %1, process %2 ...</source>
        <translation>正在连接安全密钥 %1，进程 %2 ...</translation>
    </message>
</context>
<context>
    <name>Fido2SettingDialog</name>
    <message>
        <source>Credentials file: %1</source>
        <translation>凭据文件：%1</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Cannot open credentials file: %1</source>
        <translation>无法打开凭据文件：%1</translation>
    </message>
    <message>
        <source>Invalid JSON format: %1</source>
        <translation>JSON 格式无效：%1</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>FIDO2 directory not found: %1</source>
        <translation>找不到 FIDO2 文件夹：%1</translation>
    </message>
    <message>
        <source>No credential files found in: %1</source>
        <translation>此处没有凭据文件：%1</translation>
    </message>
    <message>
        <source>New credential added successfully</source>
        <translation>新凭据已添加</translation>
    </message>
    <message>
        <source>Please select a credential to edit</source>
        <translation>请选择要编辑的凭据</translation>
    </message>
    <message>
        <source>Credential updated successfully</source>
        <translation>凭据已更新</translation>
    </message>
    <message>
        <source>Please select a credential to delete</source>
        <translation>请选择要删除的凭据</translation>
    </message>
    <message>
        <source>Confirm Delete</source>
        <translation>确认删除</translation>
    </message>
    <message>
        <source>Are you sure you want to delete this credential?</source>
        <translation>确定要删除此凭据吗？</translation>
    </message>
    <message>
        <source>Credential deleted successfully</source>
        <translation>凭据已删除</translation>
    </message>
    <message>
        <source>Invalid row selected</source>
        <translation>所选的行无效</translation>
    </message>
    <message>
        <source>Credentials saved successfully</source>
        <translation>凭据已保存</translation>
    </message>
    <message>
        <source>Cannot write to credentials file: %1</source>
        <translation>无法写入凭据文件：%1</translation>
    </message>
    <message>
        <source>FIDO2 device configuration is valid.

Device will be created with the following settings:
• VID: %1
• PID: %2
• USB Version: %3
• Device Name: %4
• Support PIN: %5
• Credentials File: %6</source>
        <translation>FIDO2 设备配置有效。

将使用以下设置创建设备：
• VID：%1
• PID：%2
• USB 版本：%3
• 设备名称：%4
• 支持 PIN 码：%5
• 凭据文件：%6</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>Success</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>FIDO2 Device Configuration</source>
        <translation>FIDO2 设备配置</translation>
    </message>
    <message>
        <source>Create FIDO2 Device</source>
        <translation>创建 FIDO2 设备</translation>
    </message>
    <message>
        <source>Credentials Management</source>
        <translation>凭据管理</translation>
    </message>
    <message>
        <source>Save Credentials</source>
        <translation>保存凭据</translation>
    </message>
    <message>
        <source>Add New</source>
        <translation>添加</translation>
    </message>
    <message>
        <source>Delete Selected</source>
        <translation>删除所选</translation>
    </message>
    <message>
        <source>Edit Selected</source>
        <translation>编辑所选</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>刷新</translation>
    </message>
    <message>
        <source>The file was changed meanwhile: %1 credentials now, %2 before.</source>
        <translation>文件已被其他程序更改:现有 %1 个凭据,之前 %2 个。</translation>
    </message>
    <message>
        <source>This file exists with %1 credentials, not loaded: saving replaces them.</source>
        <translation>此文件已存在,含 %1 个凭据,尚未载入:保存将替换它们。</translation>
    </message>
    <message>
        <source>This file exists and cannot be read: saving replaces it.</source>
        <translation>此文件已存在但无法读取:保存将替换它。</translation>
    </message>
    <message>
        <source>The folder of this file is made with the first key; until then credentials cannot be saved.</source>
        <translation>此文件的文件夹在创建第一个密钥时建立;在此之前无法保存凭据。</translation>
    </message>
    <message>
        <source>Unsaved Changes</source>
        <translation>未保存的更改</translation>
    </message>
    <message>
        <source>The credentials were changed and not saved. Do you want to drop the changes?</source>
        <translation>凭据已更改但未保存。要放弃这些更改吗？</translation>
    </message>
    <message>
        <source>The folder %1 is made with the first key: create that one without credentials, then select its file and add them.</source>
        <translation>文件夹 %1 会随第一个密钥一起建立：请先创建不含凭据的密钥，然后选择其文件并添加凭据。</translation>
    </message>
    <message>
        <source>Last used</source>
        <translation>上次使用</translation>
    </message>
    <message>
        <source>Fills in what the key that was created last was made with, but for its serial number</source>
        <translation>填入上次创建的密钥的设置（序列号除外）</translation>
    </message>
    <message>
        <source>● Not saved</source>
        <translation>● 未保存</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜索</translation>
    </message>
</context>
<context>
    <name>Fido2UserConfirmationDialog</name>
    <message>
        <source>FIDO2 User Confirmation</source>
        <translation>FIDO2 用户确认</translation>
    </message>
    <message>
        <source>Operation Details:</source>
        <translation>操作详情：</translation>
    </message>
    <message>
        <source>Select a credential:</source>
        <translation>选择凭据：</translation>
    </message>
    <message>
        <source>Credential Description:</source>
        <translation>凭据描述：</translation>
    </message>
    <message>
        <source>Enter credential description (optional)</source>
        <translation>输入凭据描述（可选）</translation>
    </message>
    <message>
        <source>Show Detailed Information</source>
        <translation>显示详细信息</translation>
    </message>
    <message>
        <source>Remember this choice for similar operations</source>
        <translation>对类似操作记住此选择</translation>
    </message>
    <message>
        <source>DENY</source>
        <translation>拒绝</translation>
    </message>
    <message>
        <source>CONFIRM</source>
        <translation>确认</translation>
    </message>
    <message>
        <source>Asked by process %1</source>
        <translation>由进程 %1 请求</translation>
    </message>
    <message>
        <source>The key that asked has ended. An answer would reach nobody.</source>
        <translation>发出请求的密钥已结束,回答不会送达。</translation>
    </message>
    <message>
        <source>Asked by the key %1, process %2</source>
        <translation>请求来自密钥 %1，进程 %2</translation>
    </message>
    <message>
        <source>%1, %2 s ago</source>
        <translation>%1，%2 秒前</translation>
    </message>
</context>
<context>
    <name>FilterEdit</name>
    <message>
        <source>A text, or status != 0</source>
        <translation>文本，或 status != 0</translation>
    </message>
    <message>
        <source>Filter, letter %1: %2</source>
        <translation>过滤器，第 %1 个字符：%2</translation>
    </message>
</context>
<context>
    <name>KeyForm</name>
    <message>
        <source>Device Configuration</source>
        <translation>设备配置</translation>
    </message>
    <message>
        <source>USB VID:</source>
        <translation>USB VID：</translation>
    </message>
    <message>
        <source>Enter USB Vendor ID (e.g., 0x1234)</source>
        <translation>输入 USB 厂商 ID（例如 0x1234）</translation>
    </message>
    <message>
        <source>USB PID:</source>
        <translation>USB PID：</translation>
    </message>
    <message>
        <source>Enter USB Product ID (e.g., 0x5678)</source>
        <translation>输入 USB 产品 ID（例如 0x5678）</translation>
    </message>
    <message>
        <source>USB Version:</source>
        <translation>USB 版本：</translation>
    </message>
    <message>
        <source>Device Name:</source>
        <translation>设备名称：</translation>
    </message>
    <message>
        <source>Enter device name</source>
        <translation>输入设备名称</translation>
    </message>
    <message>
        <source>Support PIN:</source>
        <translation>支持 PIN 码：</translation>
    </message>
    <message>
        <source>Device serial number</source>
        <translation>设备序列号</translation>
    </message>
    <message>
        <source>Generate</source>
        <translation>生成</translation>
    </message>
    <message>
        <source>Select Credentials File</source>
        <translation>选择凭据文件</translation>
    </message>
    <message>
        <source>Device Serial Number:</source>
        <translation>设备序列号：</translation>
    </message>
    <message>
        <source>Please enter USB VID</source>
        <translation>请输入 USB VID</translation>
    </message>
    <message>
        <source>Please enter USB PID</source>
        <translation>请输入 USB PID</translation>
    </message>
    <message>
        <source>Please enter device name</source>
        <translation>请输入设备名称</translation>
    </message>
    <message>
        <source>VID and PID must start with &apos;0x&apos;</source>
        <translation>VID 和 PID 必须以“0x”开头</translation>
    </message>
    <message>
        <source>Invalid VID or PID format</source>
        <translation>VID 或 PID 的格式无效</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Microphone</source>
        <translation>麦克风</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>This feature is not yet open, please stay tuned ...</source>
        <translation>此功能尚未开放，敬请期待...</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>Invalid process ID</source>
        <translation>进程 ID 无效</translation>
    </message>
    <message>
        <source>Are you sure you want to delete device &quot;%1&quot;?
This will terminate process ID: %2</source>
        <translation>确定要删除设备“%1”吗？
这将结束进程，进程 ID：%2</translation>
    </message>
    <message>
        <source>Confirm Deletion</source>
        <translation>确认删除</translation>
    </message>
    <message>
        <source>Success</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>Device &quot;%1&quot; has been successfully deleted</source>
        <translation>设备“%1”已删除</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Process termination timed out</source>
        <translation>结束进程超时</translation>
    </message>
    <message>
        <source>Failed to terminate process ID: %1
Error code: %2</source>
        <translation>无法结束进程，进程 ID：%1
错误代码：%2</translation>
    </message>
    <message>
        <source>Device Info</source>
        <translation>设备信息</translation>
    </message>
    <message>
        <source>USB Packet Capture</source>
        <translation>USB 抓包</translation>
    </message>
    <message>
        <source>Refresh List</source>
        <translation>刷新列表</translation>
    </message>
    <message>
        <source>for debug version</source>
        <translation>仅供调试版本使用</translation>
    </message>
    <message>
        <source>No device found at selected row</source>
        <translation>所选行中没有设备</translation>
    </message>
</context>
<context>
    <name>MicrophoneDeviceForm</name>
    <message>
        <source>USB Device Settings</source>
        <translation>USB 设备设置</translation>
    </message>
    <message>
        <source>e.g., 1d6b</source>
        <translation>例如 1d6b</translation>
    </message>
    <message>
        <source>e.g., 0002</source>
        <translation>例如 0002</translation>
    </message>
    <message>
        <source>e.g., USB Microphone</source>
        <translation>例如 USB Microphone</translation>
    </message>
    <message>
        <source>UAC 1.0</source>
        <translation>UAC 1.0</translation>
    </message>
    <message>
        <source>UAC 2.0</source>
        <translation>UAC 2.0</translation>
    </message>
    <message>
        <source>Real-time Mode</source>
        <translation>实时模式</translation>
    </message>
    <message>
        <source>Enable real-time audio streaming mode</source>
        <translation>启用实时音频流模式</translation>
    </message>
    <message>
        <source>USB VID:</source>
        <translation>USB VID：</translation>
    </message>
    <message>
        <source>USB PID:</source>
        <translation>USB PID：</translation>
    </message>
    <message>
        <source>Device Name:</source>
        <translation>设备名称：</translation>
    </message>
    <message>
        <source>USB Version:</source>
        <translation>USB 版本：</translation>
    </message>
    <message>
        <source>UAC Version:</source>
        <translation>UAC 版本：</translation>
    </message>
    <message>
        <source>RT Mode:</source>
        <translation>实时模式：</translation>
    </message>
</context>
<context>
    <name>MicrophoneSettingDialog</name>
    <message>
        <source>Microphone Configuration</source>
        <translation>麦克风配置</translation>
    </message>
    <message>
        <source>Audio Input Source</source>
        <translation>音频输入源</translation>
    </message>
    <message>
        <source>Audio File</source>
        <translation>音频文件</translation>
    </message>
    <message>
        <source>IPCam</source>
        <translation>网络摄像头</translation>
    </message>
    <message>
        <source>Audio Settings</source>
        <translation>音频设置</translation>
    </message>
    <message>
        <source>Number of audio channels (1=mono, 2=stereo, etc.)</source>
        <translation>声道数（1 为单声道，2 为立体声，以此类推）</translation>
    </message>
    <message>
        <source>Channels:</source>
        <translation>声道数：</translation>
    </message>
    <message>
        <source>Sample Rate (Hz):</source>
        <translation>采样率 (Hz)：</translation>
    </message>
    <message>
        <source>Loop audio playback</source>
        <translation>循环播放音频</translation>
    </message>
    <message>
        <source>Automatically restart audio playback when finished</source>
        <translation>播放结束后自动从头播放</translation>
    </message>
    <message>
        <source>Playback:</source>
        <translation>播放：</translation>
    </message>
    <message>
        <source>Select audio file...</source>
        <translation>选择音频文件...</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Audio File:</source>
        <translation>音频文件：</translation>
    </message>
    <message>
        <source>Network:</source>
        <translation>网络：</translation>
    </message>
    <message>
        <source>Select Audio File</source>
        <translation>选择音频文件</translation>
    </message>
    <message>
        <source>Audio Files (*.wav *.mp3 *.aac *.flac *.ogg);;All Files (*.*)</source>
        <translation>音频文件 (*.wav *.mp3 *.aac *.flac *.ogg);;所有文件 (*.*)</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Failed to connect to IP Audio Stream!
Please check IP address, port and network connection.</source>
        <translation>无法连接网络音频流！
请检查 IP 地址、端口和网络连接。</translation>
    </message>
    <message>
        <source>Invalid Input</source>
        <translation>输入无效</translation>
    </message>
    <message>
        <source>The selected audio file does not exist. Do you want to continue anyway?</source>
        <translation>所选的音频文件不存在。仍要继续吗？</translation>
    </message>
    <message>
        <source>File Not Found</source>
        <translation>找不到文件</translation>
    </message>
    <message>
        <source>Test Result</source>
        <translation>测试结果</translation>
    </message>
    <message>
        <source>IP Audio Stream connection successful!
IP: %1 Port: %2</source>
        <translation>网络音频流连接成功！
IP：%1 端口：%2</translation>
    </message>
    <message>
        <source>IP Audio Stream connection failed!
Please check IP address, port and network connection.</source>
        <translation>网络音频流连接失败！
请检查 IP 地址、端口和网络连接。</translation>
    </message>
    <message>
        <source>Last used</source>
        <translation>上次使用</translation>
    </message>
    <message>
        <source>Fills in the settings of the microphone that was created last</source>
        <translation>填入上次创建的麦克风的设置</translation>
    </message>
</context>
<context>
    <name>NetworkRow</name>
    <message>
        <source>Test Network</source>
        <translation>测试网络</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>IP 地址：</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>端口：</translation>
    </message>
    <message>
        <source>Testing...</source>
        <translation>正在测试...</translation>
    </message>
</context>
<context>
    <name>NetworkSource</name>
    <message>
        <source>Please enter IP address and port</source>
        <translation>请输入 IP 地址和端口</translation>
    </message>
</context>
<context>
    <name>PacketDetails</name>
    <message>
        <source>%1 bytes</source>
        <translation>%1 字节</translation>
    </message>
    <message>
        <source>Basic Information</source>
        <translation>基本信息</translation>
    </message>
    <message>
        <source>Timestamp</source>
        <translation>时间戳</translation>
    </message>
    <message>
        <source>Packet Type</source>
        <translation>数据包类型</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>设备 ID</translation>
    </message>
    <message>
        <source>Sequence Number</source>
        <translation>序列号</translation>
    </message>
    <message>
        <source>Command</source>
        <translation>命令</translation>
    </message>
    <message>
        <source>Endpoint</source>
        <translation>端点</translation>
    </message>
    <message>
        <source>Endpoint Type</source>
        <translation>端点类型</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Transfer Length</source>
        <translation>传输长度</translation>
    </message>
    <message>
        <source>Is Unlink</source>
        <translation>取消请求（unlink）</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>是</translation>
    </message>
    <message>
        <source>No</source>
        <translation>否</translation>
    </message>
    <message>
        <source>Setup Data</source>
        <translation>设置（SETUP）数据</translation>
    </message>
    <message>
        <source>No setup data available</source>
        <translation>没有设置数据</translation>
    </message>
    <message>
        <source>Data</source>
        <translation>数据</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>长度</translation>
    </message>
    <message>
        <source>Data (Hex)</source>
        <translation>数据（十六进制）</translation>
    </message>
    <message>
        <source>Protocol Info</source>
        <translation>协议信息</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>信息</translation>
    </message>
    <message>
        <source>Parsed Details</source>
        <translation>解析详情</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>详情</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>USB/IP Header</source>
        <translation>USB/IP 头</translation>
    </message>
    <message>
        <source>Transfer Flags</source>
        <translation>传输标志</translation>
    </message>
    <message>
        <source>Start Frame</source>
        <translation>起始帧</translation>
    </message>
    <message>
        <source>Number of Packets</source>
        <translation>包数</translation>
    </message>
    <message>
        <source>Interval</source>
        <translation>间隔</translation>
    </message>
    <message>
        <source>Unlinked Number</source>
        <translation>被取消的序列号</translation>
    </message>
    <message>
        <source>Actual Length</source>
        <translation>实际长度</translation>
    </message>
    <message>
        <source>Error Count</source>
        <translation>错误数</translation>
    </message>
    <message>
        <source>Meaning</source>
        <translation>含义</translation>
    </message>
</context>
<context>
    <name>PacketDetailsDialog</name>
    <message>
        <source>USBIP Packet Details</source>
        <translation>USBIP 数据包详情</translation>
    </message>
</context>
<context>
    <name>PacketFilter</name>
    <message>
        <source>&quot;&amp;&amp;&quot; or &quot;||&quot; is expected here</source>
        <translation>此处应为“&amp;&amp;”或“||”</translation>
    </message>
    <message>
        <source>There are too many parentheses</source>
        <translation>括号太多</translation>
    </message>
    <message>
        <source>&quot;)&quot; is missing</source>
        <translation>缺少“)”</translation>
    </message>
    <message>
        <source>A field or a text is expected here</source>
        <translation>此处应为字段或文本</translation>
    </message>
    <message>
        <source>There is no field &quot;%1&quot;</source>
        <translation>没有字段“%1”</translation>
    </message>
    <message>
        <source>&quot;==&quot; is expected here</source>
        <translation>此处应为“==”</translation>
    </message>
    <message>
        <source>A number is compared with ==, !=, &lt;, &lt;=, &gt; or &gt;=</source>
        <translation>数字用 ==、!=、&lt;、&lt;=、&gt; 或 &gt;= 比较</translation>
    </message>
    <message>
        <source>A number is expected here</source>
        <translation>此处应为数字</translation>
    </message>
    <message>
        <source>Expected here: %1</source>
        <translation>此处应为：%1</translation>
    </message>
    <message>
        <source>Bytes and texts are compared with ==, != or contains</source>
        <translation>字节和文本用 ==、!= 或 contains 比较</translation>
    </message>
    <message>
        <source>A text is expected here</source>
        <translation>此处应为文本</translation>
    </message>
    <message>
        <source>Pairs of hexadecimal digits or a text in quotes are expected here</source>
        <translation>此处应为成对的十六进制数字或带引号的文本</translation>
    </message>
</context>
<context>
    <name>PacketPane</name>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Sequence</source>
        <translation>序列号</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>种类</translation>
    </message>
    <message>
        <source>Endpoint</source>
        <translation>端点</translation>
    </message>
    <message>
        <source>Transfer ▾</source>
        <translation>传输 ▾</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>长度</translation>
    </message>
    <message>
        <source>Setup</source>
        <translation>设置（SETUP）</translation>
    </message>
    <message>
        <source>Data</source>
        <translation>数据</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>详情</translation>
    </message>
    <message>
        <source>Click to choose which transfer types are shown</source>
        <translation>单击以选择要显示的传输类型</translation>
    </message>
    <message>
        <source>Control (CTL)</source>
        <translation>控制 (CTL)</translation>
    </message>
    <message>
        <source>Isochronous (ISO)</source>
        <translation>等时 (ISO)</translation>
    </message>
    <message>
        <source>Bulk (BLK)</source>
        <translation>批量 (BLK)</translation>
    </message>
    <message>
        <source>Interrupt (INT)</source>
        <translation>中断 (INT)</translation>
    </message>
    <message>
        <source>Showing all packet types</source>
        <translation>显示所有类型的数据包</translation>
    </message>
    <message>
        <source>Filtering by: %1</source>
        <translation>筛选：%1</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Since request (ms)</source>
        <translation>距请求（毫秒）</translation>
    </message>
    <message>
        <source>Since last (ms)</source>
        <translation>距上一个（毫秒）</translation>
    </message>
    <message>
        <source>Meaning</source>
        <translation>含义</translation>
    </message>
</context>
<context>
    <name>PinForm</name>
    <message>
        <source>No PIN is set.</source>
        <translation>未设置 PIN。</translation>
    </message>
    <message>
        <source>A PIN is set and blocked: no attempts are left. Setting a PIN unblocks the key.</source>
        <translation>已设置 PIN 且已锁定：没有剩余的尝试次数。重新设置 PIN 可解除锁定。</translation>
    </message>
    <message>
        <source>A PIN is set, %1 of %2 attempts are left.</source>
        <translation>已设置 PIN，剩余尝试次数 %1（共 %2 次）。</translation>
    </message>
    <message>
        <source>PIN Settings</source>
        <translation>PIN 码设置</translation>
    </message>
    <message>
        <source>State:</source>
        <translation>状态：</translation>
    </message>
    <message>
        <source>Enter PIN (4-63 characters)</source>
        <translation>输入 PIN 码（4-63 个字符）</translation>
    </message>
    <message>
        <source>Show</source>
        <translation>显示</translation>
    </message>
    <message>
        <source>Shows the PIN while it is typed</source>
        <translation>输入时显示 PIN</translation>
    </message>
    <message>
        <source>PIN:</source>
        <translation>PIN 码：</translation>
    </message>
    <message>
        <source>Confirm PIN</source>
        <translation>再次输入 PIN 码</translation>
    </message>
    <message>
        <source>Confirm PIN:</source>
        <translation>确认 PIN 码：</translation>
    </message>
    <message>
        <source>Set PIN</source>
        <translation>设置 PIN 码</translation>
    </message>
    <message>
        <source>Too short: %1 more characters are needed.</source>
        <translation>太短：还需要 %1 个字符。</translation>
    </message>
    <message>
        <source>Hosts can send no more than %1 bytes of a PIN; this one has %2.</source>
        <translation>主机最多能发送 %1 字节的 PIN；此 PIN 有 %2 字节。</translation>
    </message>
    <message>
        <source>Short PINs are easy to guess; %1 characters or more are better.</source>
        <translation>短 PIN 容易被猜到；建议使用 %1 个或更多字符。</translation>
    </message>
</context>
<context>
    <name>RequestDetailsDialog</name>
    <message>
        <source>Detailed FIDO2 Request Information</source>
        <translation>FIDO2 请求详细信息</translation>
    </message>
    <message>
        <source>Complete Client Request Data</source>
        <translation>完整的客户端请求数据</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>SourcePreview</name>
    <message>
        <source>Waiting for a picture ...</source>
        <translation>正在等待画面 ...</translation>
    </message>
    <message>
        <source>No picture</source>
        <translation>没有画面</translation>
    </message>
    <message>
        <source>The source&apos;s first picture appears here</source>
        <translation>检查视频源后在此显示画面</translation>
    </message>
</context>
<context>
    <name>SourceTexts</name>
    <message>
        <source>no answer within %1 s</source>
        <translation>%1 秒内没有响应</translation>
    </message>
    <message>
        <source>The rate or channels of its sound are not known.</source>
        <translation>其声音的采样率或声道数未知。</translation>
    </message>
    <message>
        <source>There is no sound in it.</source>
        <translation>其中没有声音。</translation>
    </message>
    <message>
        <source>The size or rate of its pictures is not known.</source>
        <translation>其画面的大小或帧率未知。</translation>
    </message>
    <message>
        <source>There are no pictures in it.</source>
        <translation>其中没有画面。</translation>
    </message>
    <message>
        <source>It cannot be opened.</source>
        <translation>无法打开。</translation>
    </message>
</context>
<context>
    <name>StatusLine</name>
    <message>
        <source>%1 is missing</source>
        <translation>缺少 %1</translation>
    </message>
    <message>
        <source>%1 Refresh</source>
        <translation>%1 刷新</translation>
    </message>
    <message>
        <source>%1 Delete</source>
        <translation>%1 删除</translation>
    </message>
    <message>
        <source>%1 Copy</source>
        <translation>%1 复制</translation>
    </message>
    <message>
        <source>%1 Menu</source>
        <translation>%1 菜单</translation>
    </message>
    <message>
        <source>No devices</source>
        <translation>没有设备</translation>
    </message>
    <message>
        <source>1 device</source>
        <translation>1 个设备</translation>
    </message>
    <message>
        <source>%1 devices</source>
        <translation>%1 个设备</translation>
    </message>
    <message>
        <source>%1, %2 ended</source>
        <translation>%1，%2 个已结束</translation>
    </message>
    <message>
        <source>Host: this computer</source>
        <translation>主机：本机</translation>
    </message>
    <message>
        <source>Devices are plugged into this computer&apos;s virtual USB controller.</source>
        <translation>设备插在本机的虚拟 USB 控制器上。</translation>
    </message>
    <message>
        <source>Host: USB/IP clients</source>
        <translation>主机：USB/IP 客户端</translation>
    </message>
    <message>
        <source>This computer&apos;s virtual USB controller cannot be used. Each device waits on 127.0.0.1 for a USB/IP client.</source>
        <translation>无法使用本机的虚拟 USB 控制器。每个设备都在 127.0.0.1 上等待 USB/IP 客户端。</translation>
    </message>
    <message>
        <source>No host</source>
        <translation>无主机</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>min</source>
        <translation>最小化</translation>
    </message>
    <message>
        <source>close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>UsbIPCaptureClient</name>
    <message>
        <source>There is not enough memory for more packets.</source>
        <translation>内存不足，无法接收更多数据包。</translation>
    </message>
</context>
<context>
    <name>UsbIPCaptureDialog</name>
    <message>
        <source>USB Packet Capture - Process %1</source>
        <translation>USB 抓包 - 进程 %1</translation>
    </message>
</context>
</TS>
